#include "app/widgets/Symbol.h"

#include <QPainter>
#include <QPainterPath>

#include <cmath>
#include <numbers>

namespace orvanel {
namespace {

/// Side of the square in which the paths below are drawn, and of the widget.
constexpr int side = 20;

QPainterPath playCircle() {
    QPainterPath path;
    path.addEllipse(QPointF(10, 10), 8, 8);
    path.addPolygon(QPolygonF{{8, 6.6}, {13.6, 10}, {8, 13.4}, {8, 6.6}});
    return path;
}

QPainterPath warningTriangle() {
    QPainterPath path;
    path.addPolygon(QPolygonF{{10, 2.5}, {18.5, 17}, {1.5, 17}, {10, 2.5}});
    path.moveTo(10, 8);
    path.lineTo(10, 12);
    path.moveTo(10, 14.4);
    path.lineTo(10, 14.5);
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

QPainterPath box() {
    QPainterPath path;
    path.addPolygon(QPolygonF{{10, 1.8}, {17.4, 5.9}, {17.4, 14.1}, {10, 18.2}, {2.6, 14.1}, {2.6, 5.9}, {10, 1.8}});
    path.addPolygon(QPolygonF{{2.6, 5.9}, {10, 10}, {17.4, 5.9}});
    path.moveTo(10, 10);
    path.lineTo(10, 18.2);
    return path;
}

QPainterPath pathOf(Symbol::Kind kind) {
    switch (kind) {
    case Symbol::Kind::playCircle:
        return playCircle();
    case Symbol::Kind::warningTriangle:
        return warningTriangle();
    case Symbol::Kind::crossOctagon:
        return crossOctagon();
    case Symbol::Kind::box:
        return box();
    }
    Q_UNREACHABLE();
}

} // namespace

Symbol::Symbol(Kind kind, std::optional<Meaning> meaning, QWidget* parent)
    : QWidget(parent)
    , m_kind(kind)
    , m_meaning(meaning) {
    setFixedSize(side, side);
}

void Symbol::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor color = m_meaning ? textColor(*m_meaning, palette()) : palette().color(QPalette::WindowText);
    painter.setPen(QPen(color, 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(pathOf(m_kind));
}

} // namespace orvanel
