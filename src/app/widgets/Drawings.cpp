#include "app/widgets/Drawings.h"

#include "app/widgets/Accessibility.h"

#include <QEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orvanel {
namespace {

/// Side of the square in which the paths below are drawn.
constexpr double canvas = 20;
constexpr double stroke = 1.5;
/// The limit for large drawings, which look better with finer lines.
constexpr double finestStroke = 1.1;

QPainterPath heartbeat() {
    QPainterPath path;
    path.addPolygon(QPolygonF{{1.2, 10.6}, {5.2, 10.6}, {7, 7.4}, {9.3, 16}, {12.2, 3.6}, {14.2, 10.6}, {18.8, 10.6}});
    return path;
}

QPainterPath box() {
    QPainterPath path;
    path.addPolygon(QPolygonF{{10, 1.8}, {17.4, 5.7}, {17.4, 14.3}, {10, 18.2}, {2.6, 14.3}, {2.6, 5.7}, {10, 1.8}});
    path.addPolygon(QPolygonF{{2.6, 5.7}, {10, 9.6}, {17.4, 5.7}});
    path.moveTo(10, 9.6);
    path.lineTo(10, 18.2);
    // The tape over the lid.
    path.addPolygon(QPolygonF{{6.3, 3.75}, {13.7, 7.65}, {13.7, 10.6}});
    return path;
}

QPainterPath shieldWithLock() {
    QPainterPath path;
    path.moveTo(10, 1.6);
    path.cubicTo({12.4, 3.4}, {14.8, 4.1}, {17.2, 4.2});
    path.cubicTo({17.4, 10.8}, {15.2, 15.6}, {10, 18.4});
    path.cubicTo({4.8, 15.6}, {2.6, 10.8}, {2.8, 4.2});
    path.cubicTo({5.2, 4.1}, {7.6, 3.4}, {10, 1.6});
    path.addRoundedRect(QRectF(7, 9.2, 6, 4.6), 0.9, 0.9);
    path.moveTo(8.1, 9.2);
    path.lineTo(8.1, 7.9);
    path.arcTo(QRectF(8.1, 6, 3.8, 3.8), 180, -180);
    path.lineTo(11.9, 9.2);
    return path;
}

QPainterPath warningTriangle() {
    QPainterPath path;
    path.addPolygon(QPolygonF{{10, 2.6}, {18.4, 17}, {1.6, 17}, {10, 2.6}});
    path.moveTo(10, 7.8);
    path.lineTo(10, 12);
    path.moveTo(10, 14.4);
    path.lineTo(10, 14.45);
    return path;
}

QPainterPath playCircle() {
    QPainterPath path;
    path.addEllipse(QPointF(10, 10), 8.2, 8.2);
    path.addPolygon(QPolygonF{{8, 6.6}, {13.6, 10}, {8, 13.4}, {8, 6.6}});
    return path;
}

QPainterPath crossOctagon() {
    QPolygonF octagon;
    for (int corner = 0; corner <= 8; ++corner) {
        const double angle = (corner + 0.5) * std::numbers::pi / 4;
        octagon << QPointF(10 + 8.4 * std::cos(angle), 10 + 8.4 * std::sin(angle));
    }
    QPainterPath path;
    path.addPolygon(octagon);
    path.moveTo(7.2, 7.2);
    path.lineTo(12.8, 12.8);
    path.moveTo(12.8, 7.2);
    path.lineTo(7.2, 12.8);
    return path;
}

QPainterPath pathOf(Symbol::Kind kind) {
    switch (kind) {
    case Symbol::Kind::heartbeat:
        return heartbeat();
    case Symbol::Kind::box:
        return box();
    case Symbol::Kind::shieldWithLock:
        return shieldWithLock();
    case Symbol::Kind::warningTriangle:
        return warningTriangle();
    case Symbol::Kind::playCircle:
        return playCircle();
    case Symbol::Kind::crossOctagon:
        return crossOctagon();
    }
    Q_UNREACHABLE();
}

} // namespace

Divider::Divider(QWidget* parent)
    : QWidget(parent) {
    setFixedHeight(1);
}

void Divider::paintEvent(QPaintEvent*) {
    QColor line = palette().color(QPalette::WindowText);
    line.setAlphaF(0.15F);
    QPainter(this).fillRect(rect(), line);
}

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

Symbol::Symbol(Kind kind, TextStyle style, QWidget* parent)
    : QWidget(parent)
    , m_kind(kind) {
    setTextStyle(this, style);
    fitFont();
}

void Symbol::setMeaning(Meaning meaning) {
    m_meaning = meaning;
    update();
}

void Symbol::setAccented() {
    m_accented = true;
    update();
}

void Symbol::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        fitFont();
    }
}

void Symbol::fitFont() {
    const int side = fontMetrics().height();
    setFixedSize(side, side);
}

QColor Symbol::color() const {
    if (m_meaning) {
        return textColor(*m_meaning, palette());
    }
    return m_accented ? palette().color(QPalette::Active, QPalette::Highlight) : palette().color(QPalette::WindowText);
}

void Symbol::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double scale = width() / canvas;
    painter.scale(scale, scale);
    const double thickness = std::clamp(stroke / std::sqrt(scale), finestStroke, stroke);
    painter.setPen(QPen(color(), thickness, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(pathOf(m_kind));
}

} // namespace orvanel
