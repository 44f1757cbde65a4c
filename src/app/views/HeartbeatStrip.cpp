#include "app/views/HeartbeatStrip.h"

#include "app/views/MonitorModel.h"

#include <QPainter>
#include <QPalette>
#include <QStyle>

#include <algorithm>

namespace orvanel {
namespace {

constexpr int barWidth = 2;
/// From one bar to the next.
constexpr int pitch = 4;
constexpr int tallest = 16;
constexpr int markHeight = 2;

/// The worse the status, the higher its bar, so that the strip is quiet while all is well, and can be read without
/// telling colours apart.
int barHeight(Meaning meaning) {
    switch (meaning) {
    case Meaning::good:
        return 4;
    case Meaning::maintenance:
        return 8;
    case Meaning::pending:
        return 12;
    case Meaning::bad:
    case Meaning::inactive:
        return tallest;
    }
    Q_UNREACHABLE();
}

/// Fills rectangles that are given in pixels of the device, for as long as it lives.
class DevicePainter {
public:
    explicit DevicePainter(QPainter* painter)
        : m_painter(painter)
        , m_toDevice(painter->deviceTransform())
        , m_toPainter(m_toDevice.inverted()) {
        m_painter->save();
        // Edges that miss a pixel's edge by the error of a double would be smoothed.
        m_painter->setRenderHint(QPainter::Antialiasing, false);
    }
    ~DevicePainter() { m_painter->restore(); }
    DevicePainter(const DevicePainter&) = delete;
    DevicePainter& operator=(const DevicePainter&) = delete;

    QRectF onDevice(const QRect& rect) const { return m_toDevice.mapRect(QRectF(rect)); }
    int pixels(int points) const { return qRound(points * m_toDevice.m11()); }
    void fill(const QRect& pixels, const QColor& color) const {
        m_painter->fillRect(m_toPainter.mapRect(QRectF(pixels)), color);
    }

private:
    QPainter* m_painter;
    QTransform m_toDevice;
    QTransform m_toPainter;
};

} // namespace

int HeartbeatStrip::barsIn(int width) {
    return std::max(0, width / pitch);
}

HeartbeatStrip::HeartbeatStrip(const QRect& area, int bars, Qt::LayoutDirection direction)
    : m_rect(QStyle::alignedRect(direction, Qt::AlignRight, QSize(bars * pitch, area.height()), area))
    , m_bars(bars)
    , m_direction(direction) {}

QRect HeartbeatStrip::rectOf(int bar) const {
    const QRect fromTheRight(m_rect.right() + 1 - (bar + 1) * pitch, m_rect.top(), pitch, m_rect.height());
    return QStyle::visualRect(m_direction, m_rect, fromTheRight);
}

std::optional<int> HeartbeatStrip::barAt(const QPoint& place) const {
    if (m_bars == 0 || !m_rect.contains(place)) {
        return std::nullopt;
    }
    const int fromTheEnd = m_direction == Qt::LeftToRight ? m_rect.right() - place.x() : place.x() - m_rect.left();
    return fromTheEnd / pitch;
}

void HeartbeatStrip::paint(QPainter* painter, const Heartbeats& beats, const QPalette& palette,
                           std::optional<int> marked) const {
    const DevicePainter device(painter);
    const int width = device.pixels(barWidth);
    const int highest = std::min(tallest, m_rect.height());
    const int middle = qRound(device.onDevice(m_rect).center().y());
    for (int bar = 0; bar < m_bars; ++bar) {
        const Meaning meaning = monitorStatus(beats.fromNewest(bar).status()).meaning;
        const int left = qRound(device.onDevice(rectOf(bar)).left()) + (device.pixels(pitch) - width) / 2;
        const int half = device.pixels(std::min(highest, barHeight(meaning))) / 2;
        device.fill({left, middle - half, width, 2 * half}, dotColor(meaning, palette));
        if (marked == bar) {
            const int top = middle + device.pixels(highest) / 2 + 1;
            const int excess = device.pixels(1);
            device.fill({left - excess, top, width + 2 * excess, device.pixels(markHeight)},
                        palette.color(QPalette::WindowText));
        }
    }
}

} // namespace orvanel
