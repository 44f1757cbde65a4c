#pragma once

#include "platform/DataLock.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <chrono>
#include <memory>

namespace orvanel {

/// Keeps the program to one running copy per user. The first copy owns a name on the session bus and implements
/// org.freedesktop.Application there; a later copy asks it to come to the front. A lock in the data folder keeps copies
/// apart that cannot see each other on a bus. Main thread.
class SingleInstance final : public QObject {
    Q_OBJECT

public:
    enum class Outcome {
        /// Run: this is the only copy.
        First,
        /// Run: this is the only copy. It waited for the last one to end, so the user may expect its window.
        Successor,
        /// Leave: another copy runs and was asked to come to the front, though it may not have answered in time.
        AlreadyRunning,
        /// Run: this is the only copy, but later ones cannot reach it.
        NoBus,
        /// Wait: a copy that is leaving still uses the data; waitForEnd() tells how that ends.
        Leaving,
        /// Leave: a copy that cannot be reached uses the same data, or a copy that is leaving does not end.
        DataInUse,
    };

    /// What the desktop gave this process so that its window may come to the front.
    struct LaunchTokens {
        QString activationToken;
        QString startupId;

        /// From the environment. Call it before the application object is made, because Qt removes them.
        static LaunchTokens fromEnvironment();
    };

    /// `lockFile` belongs to the data; `limit` bounds how long start() waits for a running copy.
    explicit SingleInstance(QString lockFile = usersLockFile(), QDBusConnection bus = QDBusConnection::sessionBus(),
                            std::chrono::milliseconds limit = std::chrono::seconds(2));
    ~SingleInstance() override;

    /// The lock beside this user's data.
    static QString usersLockFile();

    /// Call it once, before the event loop runs. Blocks for little more than `limit`.
    Outcome start(const LaunchTokens& tokens);
    /// After `Leaving`: blocks for minutes, until the copy that is leaving has ended (`Successor`) or takes too long
    /// (`DataInUse`). Any thread, while no other uses this object.
    Outcome waitForEnd();

    /// This copy is about to end: a later start no longer asks it for anything, but waits for its end and then runs.
    /// The lock is kept.
    void leave();

Q_SIGNALS:
    /// A later start, or the desktop, asks for the main window. Both texts may be empty. The token allows the window to
    /// come to the front on Wayland; the id names the startup sequence that the window ends on X11.
    void activated(const QString& activationToken, const QString& startupId);

private:
    class Application;
    enum class Answer { Given, Missing, NobodyThere };

    bool takeName();
    Answer activateRunning(const LaunchTokens& tokens);
    void leaveBus();
    Outcome runUnderLock(Outcome outcome);

    DataLock m_lock;
    QDBusConnection m_bus;
    const int m_limit;
    bool m_isRegistered = false;
    bool m_isLeaving = false;
    std::unique_ptr<Application> m_application;
};

} // namespace orvanel
