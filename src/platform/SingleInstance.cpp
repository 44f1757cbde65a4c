#include "platform/SingleInstance.h"

#include "platform/AppIdentity.h"
#include "platform/UserFiles.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QStringList>

#include <utility>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

// A copy that has just been killed loses its name and its lock one after the other.
constexpr std::chrono::milliseconds patienceWithLock{1000};
// Longer than a copy can take to end: it may wait for a container to come up and then stop it, both with limits.
constexpr std::chrono::minutes patienceWithLeaving{4};

const QString tokenKey = u"activation-token"_s;
const QString startupIdKey = u"desktop-startup-id"_s;

} // namespace

/// The program as other processes see it on the bus. It has no documents and no actions, so every call means "show
/// yourself".
class SingleInstance::Application final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    explicit Application(SingleInstance* instance)
        : m_instance(instance) {}

    Q_SCRIPTABLE Q_SLOT void Activate(const QVariantMap& platformData) { // NOLINT(readability-identifier-naming)
        if (m_instance->m_isLeaving) {
            // The call was under way when the name was given up. The caller will find the name free.
            sendErrorReply(QDBusError::ServiceUnknown, u"Orvanel is quitting."_s);
            return;
        }
        Q_EMIT m_instance->activated(platformData.value(tokenKey).toString(),
                                     platformData.value(startupIdKey).toString());
    }

    Q_SCRIPTABLE Q_SLOT void Open(const QStringList&, const QVariantMap& platformData) { Activate(platformData); }

    Q_SCRIPTABLE Q_SLOT void ActivateAction(const QString&, const QVariantList&, const QVariantMap& platformData) {
        Activate(platformData);
    }

private:
    SingleInstance* const m_instance;
};

SingleInstance::LaunchTokens SingleInstance::LaunchTokens::fromEnvironment() {
    return {qEnvironmentVariable("XDG_ACTIVATION_TOKEN"), qEnvironmentVariable("DESKTOP_STARTUP_ID")};
}

SingleInstance::SingleInstance(QString lockFile, QDBusConnection bus, std::chrono::milliseconds limit)
    : m_lock(std::move(lockFile))
    , m_bus(std::move(bus))
    , m_limit(static_cast<int>(limit.count()))
    , m_application(std::make_unique<Application>(this)) {}

SingleInstance::~SingleInstance() {
    leaveBus();
}

QString SingleInstance::usersLockFile() {
    return u"%1/%2/.lock"_s.arg(folders::applicationSupport(), identity::applicationName());
}

SingleInstance::Outcome SingleInstance::start(const LaunchTokens& tokens) {
    if (!m_bus.isConnected()) {
        return runUnderLock(Outcome::NoBus);
    }
    if (takeName()) {
        return runUnderLock(Outcome::First);
    }
    const Answer answer = activateRunning(tokens);
    if (answer == Answer::Given) {
        return Outcome::AlreadyRunning;
    }
    // A copy that died during the call and one that hangs look the same, but only the dead one has lost its name.
    if (takeName()) {
        return runUnderLock(Outcome::First);
    }
    return answer == Answer::Missing ? Outcome::AlreadyRunning : runUnderLock(Outcome::NoBus);
}

// The object comes before the name, so that no call can miss it.
bool SingleInstance::takeName() {
    m_isRegistered =
        m_bus.registerObject(identity::busPath(), m_application.get(), QDBusConnection::ExportScriptableSlots) &&
        m_bus.registerService(identity::desktopId());
    if (!m_isRegistered) {
        m_bus.unregisterObject(identity::busPath());
    }
    return m_isRegistered;
}

SingleInstance::Answer SingleInstance::activateRunning(const LaunchTokens& tokens) {
    QVariantMap platformData;
    if (!tokens.activationToken.isEmpty()) {
        platformData.insert(tokenKey, tokens.activationToken);
    }
    if (!tokens.startupId.isEmpty()) {
        platformData.insert(startupIdKey, tokens.startupId);
    }
    QDBusMessage call = QDBusMessage::createMethodCall(identity::desktopId(), identity::busPath(),
                                                       u"org.freedesktop.Application"_s, u"Activate"_s);
    call.setArguments({platformData});
    // The bus may be able to start the program; that would be a third copy.
    call.setAutoStartService(false);
    const QDBusMessage reply = m_bus.call(call, QDBus::Block, m_limit);
    if (reply.type() != QDBusMessage::ErrorMessage) {
        return Answer::Given;
    }
    return QDBusError(reply).type() == QDBusError::ServiceUnknown ? Answer::NobodyThere : Answer::Missing;
}

void SingleInstance::leave() {
    m_isLeaving = true;
    m_lock.announceEnd();
    if (std::exchange(m_isRegistered, false)) {
        // unregisterService() would wait for the bus.
        QDBusMessage call = QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                                           u"org.freedesktop.DBus"_s, u"ReleaseName"_s);
        call.setArguments({identity::desktopId()});
        m_bus.send(call);
    }
}

void SingleInstance::leaveBus() {
    if (std::exchange(m_isRegistered, false)) {
        m_bus.unregisterService(identity::desktopId());
        m_bus.unregisterObject(identity::busPath());
    }
}

SingleInstance::Outcome SingleInstance::waitForEnd() {
    const bool isHeld = m_lock.take({}, patienceWithLeaving) == DataLock::Result::HeldElsewhere;
    return isHeld ? Outcome::DataInUse : Outcome::Successor;
}

SingleInstance::Outcome SingleInstance::runUnderLock(Outcome outcome) {
    switch (m_lock.take(patienceWithLock)) {
    case DataLock::Result::HeldElsewhere:
        if (m_lock.isHolderLeaving()) {
            return Outcome::Leaving;
        }
        leaveBus();
        return Outcome::DataInUse;
    case DataLock::Result::TakenOver:
        return Outcome::Successor;
    case DataLock::Result::Taken:
    // The program must also run where files cannot be locked.
    case DataLock::Result::Impossible:
        break;
    }
    return outcome;
}

} // namespace orvanel

#include "SingleInstance.moc"
