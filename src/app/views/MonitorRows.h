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

    /// Selection and focus stay with their monitors, and so does what is read at the upper edge of the window.
    void setMonitors(const QList<MonitorRow>& monitors);
    bool isEmpty() const;

protected:
    void changeEvent(QEvent* event) override;
    QModelIndex moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers) override;
    void wheelEvent(QWheelEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

private:
    /// The rows in view while the first of all is not, and how much of the upper one is hidden.
    struct SeenRows {
        QList<std::int64_t> ids;
        int hiddenPart = 0;
    };
    SeenRows seenRows() const;
    void keepInPlace(const SeenRows& seen);
    std::optional<std::int64_t> currentId() const;
    void fitHeight();

    MonitorModel* m_monitors;
    MonitorDelegate* m_delegate;
    bool m_isRefreshing = false;
};

} // namespace orvanel
