#include "app/StatusIcon.h"

#include "app/widgets/StateColors.h"

#include <QPainter>
#include <QPixmap>

namespace orvanel {
namespace {

/// Panels drop pixmaps above 64 pixels.
constexpr int panelSizes[] = {16, 22, 24, 32, 48, 64};

} // namespace

QImage StatusIcon::image(Health health, int size) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);

    const Meaning meaning = meaningOf(health);
    const double inset = size * 3.0 / 16;
    const double ring = size / 16.0;
    const QRectF circle = QRectF(0, 0, size, size).adjusted(inset, inset, -inset, -inset);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(statusRingColor(meaning));
    painter.drawEllipse(circle);
    painter.setBrush(statusDotColor(meaning));
    painter.drawEllipse(circle.adjusted(ring, ring, -ring, -ring));
    return image;
}

QIcon StatusIcon::icon(Health health) {
    QIcon icon;
    for (const int size : panelSizes) {
        icon.addPixmap(QPixmap::fromImage(image(health, size)));
    }
    return icon;
}

} // namespace orvanel
