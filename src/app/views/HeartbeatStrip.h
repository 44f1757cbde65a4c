#pragma once

#include <QRect>

#include <optional>

class QPainter;
class QPalette;

namespace orvanel {

class Heartbeats;

/// The strip of small bars for a monitor's last heartbeats: where they stand, and how they are painted. The newest
/// stands at the end of the line. Bars are counted from it: it is 0, the one before it 1.
class HeartbeatStrip {
public:
    /// How many bars a strip of that width has.
    static int barsIn(int width);

    /// Without bars.
    HeartbeatStrip() = default;
    /// As many bars, at the end of an area that has room for them.
    HeartbeatStrip(const QRect& area, int bars, Qt::LayoutDirection direction);

    int bars() const { return m_bars; }
    /// As high as the area and as wide as the bars.
    QRect rect() const { return m_rect; }
    /// Where that bar can be pointed at: as high as the area, and to the middle of the gaps beside it.
    QRect rectOf(int bar) const;
    /// None where no bar is.
    std::optional<int> barAt(const QPoint& place) const;

    /// The last heartbeats, of which there must be as many as bars. `marked` gets a line under it. Edges lie between
    /// the pixels of the device, whatever its scale.
    void paint(QPainter* painter, const Heartbeats& beats, const QPalette& palette, std::optional<int> marked) const;

private:
    QRect m_rect;
    int m_bars = 0;
    Qt::LayoutDirection m_direction = Qt::LeftToRight;
};

} // namespace orvanel
