#pragma once

#include "statuspage/StatusPageResult.h"

#include <QFont>
#include <QStyledItemDelegate>

namespace orvanel {

/// Paints one monitor: dot, name over group, status word, response time, and a divider below.
class MonitorDelegate final : public QStyledItemDelegate {
    Q_OBJECT

public:
    explicit MonitorDelegate(QObject* parent = nullptr);

    /// A row with a group has two lines.
    int rowHeight(const MonitorRow& monitor) const;
    /// Call it when the desktop's font has changed.
    void refreshFonts();

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    /// Shows a tooltip only where the row does not show the names whole.
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

private:
    struct Columns {
        QRect dot;
        QRect names;
        QRect word;
        QRect ping;
    };
    Columns columnsIn(const QStyleOptionViewItem& option, const MonitorRow& monitor) const;
    void paintNames(QPainter* painter, const QRect& area, const MonitorRow& monitor,
                    const QStyleOptionViewItem& option) const;
    void paintPing(QPainter* painter, const QRect& area, const MonitorRow& monitor,
                   const QStyleOptionViewItem& option) const;

    int m_lowRow = 0;
    int m_highRow = 0;
    QFont m_nameFont;
    QFont m_groupFont;
    QFont m_pingFont;
};

} // namespace orvanel
