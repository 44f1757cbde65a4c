#pragma once

#include <QListView>

#include <optional>

namespace orvanel {

struct MonitorRow;
class MonitorDelegate;
class MonitorModel;

/// The rows of the monitor list. It is as high as all rows together, because the window's one column scrolls, not the
/// list. Of thousands of rows only those in view are painted. Left and Right go through the heartbeats of a row.
class MonitorRows final : public QListView {
    Q_OBJECT

public:
    explicit MonitorRows(QWidget* parent = nullptr);

    /// Selection and focus stay with their monitors, and the rows in view stay where they are.
    void setMonitors(const QList<MonitorRow>& monitors);
    bool isEmpty() const;
    /// Whether monitors can be opened; not at first.
    void setCanOpen(bool canOpen) { m_canOpen = canOpen; }

Q_SIGNALS:
    /// The monitor with that id is to be shown in the dashboard: by a double click, by Return, or by the row's menu.
    void opened(qint64 id);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void wheelEvent(QWheelEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

private:
    /// The rows in view, if the list is scrolled, and how much of the upper one is hidden.
    struct SeenRows {
        QList<std::int64_t> ids;
        /// The distance of each from the first.
        QList<int> tops;
        int hiddenPart = 0;
    };
    SeenRows seenRows() const;
    void keepInPlace(const SeenRows& seen);
    std::optional<std::int64_t> currentId() const;
    void open(const QModelIndex& index);
    /// Goes from one heartbeat of the current row to the next; false where the row has no strip.
    bool chooseNextBeat(bool isOlder);
    void leaveBeat();
    void layOutRows();
    /// The distance of a row's upper edge from that of the list. The last edge is the end of the last row.
    int topOf(int row) const { return m_edges.at(row); }
    /// The row at that distance, which must be within the list.
    int rowAt(int y) const;

    MonitorModel* m_monitors;
    MonitorDelegate* m_delegate;
    QList<int> m_edges{0};
    bool m_isRefreshing = false;
    bool m_canOpen = false;
};

} // namespace orvanel
