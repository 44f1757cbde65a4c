#pragma once

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QWidget>

namespace orvanel {

/// A bar for work whose end is not known. It moves only while it is visible.
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

/// A small turning wheel for work whose end is not known. It turns only while it is visible.
class Spinner final : public QWidget {
    Q_OBJECT

public:
    explicit Spinner(QWidget* parent = nullptr);

    bool isTurning() const { return m_timer.isActive(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QBasicTimer m_timer;
    int m_step = 0;
};

} // namespace orvanel
