#pragma once

#include "app/views/HeartbeatStrip.h"
#include "statuspage/StatusPageResult.h"

#include <QFont>
#include <QStyledItemDelegate>

namespace orvanel {

/// Paints one monitor: dot, name over group, strip of heartbeats, status word, response time, and a divider below.
class MonitorDelegate final : public QStyledItemDelegate {
    Q_OBJECT

public:
    explicit MonitorDelegate(QObject* parent = nullptr);

    /// A row with a group has two lines.
    int rowHeight(const MonitorRow& monitor) const;
    /// The monitor's strip in a row that is painted with that option. In a narrow window it has no bars.
    HeartbeatStrip strip(const QStyleOptionViewItem& option, const MonitorRow& monitor) const;
    /// Call it when the desktop's font has changed.
    void refreshFonts();

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    /// Shows what the heartbeat says that is pointed at, and elsewhere the names where the row does not show them
    /// whole.
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

private:
    struct Columns {
        QRect dot;
        QRect names;
        HeartbeatStrip strip;
        QRect word;
        QRect ping;
    };
    Columns columnsIn(const QStyleOptionViewItem& option, const MonitorRow& monitor) const;
    int barsIn(int room, const QStyleOptionViewItem& option) const;
    void paintNames(QPainter* painter, const QRect& area, const MonitorRow& monitor,
                    const QStyleOptionViewItem& option) const;
    void paintPing(QPainter* painter, const QRect& area, const MonitorRow& monitor,
                   const QStyleOptionViewItem& option) const;

    int m_lowRow = 0;
    int m_highRow = 0;
    int m_widestWord = 0;
    int m_shortestNames = 0;
    QFont m_nameFont;
    QFont m_groupFont;
    QFont m_pingFont;
};

} // namespace orvanel
