#pragma once

#include <QBasicTimer>
#include <QWidget>

namespace orvanel {

/// A small turning progress indicator; it turns only while it is seen.
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
