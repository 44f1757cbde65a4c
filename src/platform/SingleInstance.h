#pragma once

#include "platform/DataLock.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariantMap>

#include <chrono>
#include <memory>

namespace orvanel {

/// One running copy of the program for one user: the first owns a name on the session bus and answers there to
/// org.freedesktop.Application; a later one tells it to come to the front. A lock in the data folder keeps off copies
/// that cannot see each other on a bus. Main thread.
class SingleInstance final : public QObject {
    Q_OBJECT

public:
    enum class Outcome {
        /// Run: this is the only copy.
        First,
        /// Run: this is the only copy, but somebody who saw the last one leave may expect its window.
        Successor,
        /// Leave: another copy runs and was told to come to the front, even if it did not answer in time.
        AlreadyRunning,
        /// Run: this is the only copy, but later ones cannot reach it.
        NoBus,
        /// Leave: a copy that cannot be reached runs on the same data, or one that is leaving does not come to its end.
        DataInUse,
    };

    /// What the desktop gave this process so that its window may come to the front.
    struct LaunchTokens {
        QString activationToken;
        QString startupId;

        /// From the environment. To be called before the application object is made: Qt takes them away.
        static LaunchTokens fromEnvironment();
    };

    /// `lockFile` belongs to the data; `limit` bounds how long start() waits for a running copy.
    explicit SingleInstance(QString lockFile = usersLockFile(), QDBusConnection bus = QDBusConnection::sessionBus(),
                            std::chrono::milliseconds limit = std::chrono::seconds(2));
    ~SingleInstance() override;

    /// The lock beside this user's data.
    static QString usersLockFile();

    /// To be called once, before the event loop runs; blocks, for `limit` and a moment at most, or as long as the copy
    /// that still holds the data is leaving.
    Outcome start(const LaunchTokens& tokens);

    /// This copy is on its way out: from now on a later start does not ask it for anything, but waits for its end and
    /// runs. The lock is kept.
    void leave();

Q_SIGNALS:
    /// A later start, or the desktop, asks for the main window. The token, which may be empty, lets it come to the
    /// front.
    void activated(const QString& activationToken);

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
