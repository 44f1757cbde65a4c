#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QWidget>

namespace orvanel {

/// A bar that shows that something is under way, but not how far it is; it moves only while it is seen.
class BusyBar final : public QWidget {
    Q_OBJECT

public:
    /// `name` is what a screen reader calls it.
    explicit BusyBar(const QString& name, QWidget* parent = nullptr);

    bool isMoving() const { return m_timer.isActive(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QBasicTimer m_timer;
    QElapsedTimer m_sinceShown;
};

} // namespace orvanel
