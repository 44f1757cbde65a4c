#pragma once

#include <QListView>

#include <optional>

namespace orvanel {

struct MonitorRow;
class MonitorDelegate;
class MonitorModel;

/// The rows of the monitor list, as high as all of them together: what scrolls is the window's one column, and of
/// thousands of rows only those in view are ever painted.
class MonitorRows final : public QListView {
    Q_OBJECT

public:
    explicit MonitorRows(QWidget* parent = nullptr);

    /// Selection, focus and place stay with their monitors.
    void setMonitors(const QList<MonitorRow>& monitors);
    bool isEmpty() const;

protected:
    void changeEvent(QEvent* event) override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void wheelEvent(QWheelEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

private:
    std::optional<std::int64_t> currentId() const;
    void fitHeight();

    MonitorModel* m_monitors;
    MonitorDelegate* m_delegate;
    bool m_isRefreshing = false;
};

} // namespace orvanel
