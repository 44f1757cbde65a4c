#include "app/widgets/Spinner.h"

#include "app/widgets/AccessibleRole.h"

#include <QPainter>
#include <QTimerEvent>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr int side = 18;
constexpr int spokes = 8;
constexpr int millisecondsPerStep = 100;

} // namespace

Spinner::Spinner(QWidget* parent)
    : QWidget(parent) {
    setFixedSize(side, side);
    setAccessibleRole(this, QAccessible::Animation);
    setAccessibleName(u"In progress"_s);
}

void Spinner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(side / 2.0, side / 2.0);
    QColor color = palette().color(QPalette::WindowText);
    for (int spoke = 0; spoke < spokes; ++spoke) {
        const int age = (m_step - spoke + spokes) % spokes;
        color.setAlphaF(0.85F - 0.09F * static_cast<float>(age));
        painter.setPen(QPen(color, 2, Qt::SolidLine, Qt::RoundCap));
        painter.save();
        painter.rotate(spoke * 360.0 / spokes);
        painter.drawLine(QPointF(0, -4), QPointF(0, -7.5));
        painter.restore();
    }
}

void Spinner::timerEvent(QTimerEvent* event) {
    if (event->timerId() == m_timer.timerId()) {
        m_step = (m_step + 1) % spokes;
        update();
    }
}

void Spinner::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    m_timer.start(millisecondsPerStep, this);
}

void Spinner::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_timer.stop();
}

} // namespace orvanel
