#include "app/widgets/Progress.h"

#include "app/widgets/Accessibility.h"

#include <QPainter>
#include <QTimerEvent>

#include <cmath>
#include <numbers>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr int barHeight = 6;
constexpr int millisecondsPerFrame = 40;
constexpr double secondsPerRound = 2.4;
/// How much of the bar is filled.
constexpr double share = 0.3;
constexpr float trackOpacity = 0.14F;

constexpr int side = 18;
constexpr int spokes = 8;
constexpr int millisecondsPerStep = 100;

} // namespace

BusyBar::BusyBar(const QString& name, QWidget* parent)
    : QWidget(parent) {
    setFixedHeight(barHeight);
    setAccessibleRole(this, QAccessible::ProgressBar);
    setAccessibleName(name);
}

void BusyBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QRectF track(rect());
    const double radius = track.height() / 2;
    QColor shade = palette().color(QPalette::WindowText);
    shade.setAlphaF(trackOpacity);
    painter.setBrush(shade);
    painter.drawRoundedRect(track, radius, radius);

    // The bar moves back and forth, slower at the ends.
    const double seconds = m_sinceShown.isValid() ? static_cast<double>(m_sinceShown.elapsed()) / 1000 : 0;
    const double way = (1 - std::cos(2 * std::numbers::pi * seconds / secondsPerRound)) / 2;
    const double width = track.width() * share;
    painter.setBrush(palette().color(QPalette::Active, QPalette::Highlight));
    painter.drawRoundedRect(QRectF((track.width() - width) * way, 0, width, track.height()), radius, radius);
}

void BusyBar::timerEvent(QTimerEvent* event) {
    if (event->timerId() == m_timer.timerId()) {
        update();
    }
}

void BusyBar::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    m_sinceShown.start();
    m_timer.start(millisecondsPerFrame, this);
}

void BusyBar::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_timer.stop();
}

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
