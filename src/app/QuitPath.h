#pragma once

#include <QBasicTimer>
#include <QObject>

namespace orvanel {

class AppDelegate;

/// The only way out of the program. Every request to quit (menu, keys, signals, the end of the session) passes through
/// here. The delegate is asked at the first request, and the program ends with exit code 0 when the delegate agrees.
/// Later requests change nothing.
class QuitPath final : public QObject {
    Q_OBJECT

public:
    /// For the one application object of the process.
    explicit QuitPath(AppDelegate& delegate);

Q_SIGNALS:
    /// The first request has come; the program ends soon.
    void quitting();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    void leave();

    AppDelegate& m_delegate;
    bool m_isQuitting = false;
    QBasicTimer m_exit;
    int m_turnsLeft = 0;
};

} // namespace orvanel
