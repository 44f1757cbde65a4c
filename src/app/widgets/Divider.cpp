#include "app/widgets/Divider.h"

#include <QPainter>

namespace orvanel {

Divider::Divider(QWidget* parent)
    : QWidget(parent) {
    setFixedHeight(1);
}

void Divider::paintEvent(QPaintEvent*) {
    QColor line = palette().color(QPalette::WindowText);
    line.setAlphaF(0.15F);
    QPainter(this).fillRect(rect(), line);
}

} // namespace orvanel
