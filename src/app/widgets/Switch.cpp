#include "app/widgets/Switch.h"

#include "app/widgets/PlainText.h"
#include "app/widgets/StateColors.h"
#include "app/widgets/TextStyle.h"

#include <QPainter>

#include <algorithm>

namespace orvanel {
namespace {

constexpr QSize track{36, 20};
/// Between the knob and the edge of the track.
constexpr double gap = 3;
/// The width of the ring that shows the focus.
constexpr int ring = 2;

} // namespace

Switch::Switch(const QString& text, QWidget* parent)
    : QCheckBox(plainButtonText(text), parent) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

QSize Switch::sizeHint() const {
    const QSize label = fontMetrics().size(Qt::TextShowMnemonic, text());
    return {label.width() + spacing::related + track.width() + 2 * ring,
            std::max(label.height(), track.height()) + 2 * ring};
}

QRectF Switch::trackRect() const {
    QRectF rect(QPointF(0, 0), track);
    rect.moveCenter(QRectF(this->rect()).center());
    rect.moveLeft(isRightToLeft() ? ring : width() - ring - track.width());
    return rect;
}

void Switch::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::WindowText));
    const int taken = track.width() + ring + spacing::related;
    const QRect label = isRightToLeft() ? rect().adjusted(taken, 0, 0, 0) : rect().adjusted(0, 0, -taken, 0);
    const int alignment = isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft;
    painter.drawText(label, alignment | Qt::AlignAbsolute | Qt::AlignVCenter | Qt::TextShowMnemonic, text());
    painter.setRenderHint(QPainter::Antialiasing);
    paintTrack(painter);
}

void Switch::paintTrack(QPainter& painter) const {
    const QRectF rect = trackRect();
    const double radius = rect.height() / 2;
    const QColor on = palette().color(QPalette::Highlight);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? on : switchOffColor(palette()));
    painter.drawRoundedRect(rect, radius, radius);

    const double diameter = rect.height() - 2 * gap;
    QRectF knob(rect.left() + gap, rect.top() + gap, diameter, diameter);
    if (isChecked() != isRightToLeft()) {
        knob.moveRight(rect.right() - gap);
    }
    painter.setBrush(Qt::white);
    painter.drawEllipse(knob);

    if (hasFocus()) {
        painter.setPen(QPen(on, 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawRoundedRect(rect.adjusted(-1, -1, 1, 1), radius + 1, radius + 1);
    }
}

} // namespace orvanel
