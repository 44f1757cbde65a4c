#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <array>
#include <csignal>
#include <memory>

namespace orvanel {

/// Turns SIGTERM, SIGINT and SIGHUP into a request to quit. At most one such object at a time; when it goes, the
/// signals do again what they did before. A signal that was ignored at creation (nohup) stays ignored.
class QuitSignals final : public QObject {
    Q_OBJECT

public:
    QuitSignals();
    ~QuitSignals() override;

Q_SIGNALS:
    /// Emitted from the event loop of the thread that made this object. Signals that come together count once.
    void quitRequested();

private:
    struct Handler {
        int signal;
        struct sigaction before;
        bool isInstalled;
    };

    void install(Handler& handler);
    void onReadable();

    /// Written by the signal handler, read by us.
    std::array<int, 2> m_sockets{-1, -1};
    std::array<Handler, 3> m_handlers;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace orvanel
