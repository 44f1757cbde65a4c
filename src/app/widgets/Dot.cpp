#include "app/widgets/Dot.h"

#include "app/widgets/AccessibleRole.h"

#include <QPainter>

namespace orvanel {

Dot::Dot(int diameter, QWidget* parent)
    : QWidget(parent) {
    setFixedSize(diameter, diameter);
    setAccessibleRole(this, QAccessible::Graphic);
}

void Dot::setState(Meaning meaning, const QString& spoken) {
    if (spoken != accessibleName()) {
        setAccessibleName(spoken);
        setToolTip(spoken);
    }
    if (meaning != m_meaning) {
        m_meaning = meaning;
        update();
    }
}

void Dot::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(dotColor(m_meaning, palette()));
    painter.drawEllipse(QRectF(rect()));
}

} // namespace orvanel
