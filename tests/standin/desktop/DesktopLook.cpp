#include "standin/desktop/DesktopLook.h"

#include <QApplication>

using namespace Qt::StringLiterals;

namespace orvanel::standin {

DesktopLook DesktopLook::light() {
    return {.dark = false,
            .wallpaperTop = QColor(0xc9d8e6),
            .wallpaperBottom = QColor(0xe9dfd6),
            .panel = QColor(0xf7f8fa),
            .panelText = QColor(0x33383f),
            .surface = QColor(0xfcfcfd),
            .border = QColor(0xbfc6ce),
            .text = QColor(0x23272e),
            .secondaryText = QColor(0x8a919b)};
}

DesktopLook DesktopLook::darkened() {
    return {.dark = true,
            .wallpaperTop = QColor(0x27303c),
            .wallpaperBottom = QColor(0x3a3238),
            .panel = QColor(0x1b1e23),
            .panelText = QColor(0xd9dde2),
            .surface = QColor(0x2a2e34),
            .border = QColor(0x4a5059),
            .text = QColor(0xeceef1),
            .secondaryText = QColor(0x8b929c)};
}

QFont DesktopLook::font(double scale, QFont::Weight weight) const {
    QFont font = QApplication::font();
    font.setPointSizeF(font.pointSizeF() * scale);
    font.setWeight(weight);
    return font;
}

void DesktopLook::paintBackground(QPainter& painter, const QRect& screen) const {
    QLinearGradient gradient(screen.topLeft(), screen.bottomRight());
    gradient.setColorAt(0, wallpaperTop);
    gradient.setColorAt(1, wallpaperBottom);
    painter.fillRect(screen, gradient);

    const QRect bar(screen.left(), screen.top(), screen.width(), panelHeight);
    painter.fillRect(bar, panel);
    painter.fillRect(QRect(bar.left(), bar.bottom(), bar.width(), 1), dark ? QColor(0x0f1114) : border);
    painter.setPen(secondaryText);
    painter.setFont(font());
    painter.drawText(bar.adjusted(14, 0, -14, 0), Qt::AlignVCenter | Qt::AlignLeft, u"Stand-in desktop"_s);
}

void DesktopLook::paintShadow(QPainter& painter, const QRect& around) const {
    constexpr int reach = 26;
    constexpr int fall = 5;
    painter.setPen(Qt::NoPen);
    for (int step = reach; step > 0; step -= 2) {
        // The shadow is darker near the window.
        painter.setBrush(QColor(0, 0, 0, (step > reach / 2 ? 1 : 2) * (dark ? 4 : 1)));
        const QRectF ring = QRectF(around).adjusted(-step, -step + fall, step, step + fall);
        painter.drawRoundedRect(ring, radius + step, radius + step);
    }
}

void DesktopLook::paintCard(QPainter& painter, const QRect& rect) const {
    painter.setPen(border);
    painter.setBrush(surface);
    painter.drawRoundedRect(QRectF(rect).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
}

} // namespace orvanel::standin
