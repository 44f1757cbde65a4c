#include "platform/SystemdUnits.h"

#include "task/Event.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>

#include <limits>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

const QString serviceName = u"org.freedesktop.systemd1"_s;
const QString managerPath = u"/org/freedesktop/systemd1"_s;
const QString managerInterface = u"org.freedesktop.systemd1.Manager"_s;
const QString unitInterface = u"org.freedesktop.systemd1.Unit"_s;
const QString serviceInterface = u"org.freedesktop.systemd1.Service"_s;

/// People take their time with passwords.
constexpr int noLimit = std::numeric_limits<int>::max();

QDBusMessage callToManager(const QString& method, const QVariantList& arguments) {
    auto call = QDBusMessage::createMethodCall(serviceName, managerPath, managerInterface, method);
    call.setArguments(arguments);
    return call;
}

/// The answer, or an error where the call failed.
Event<QDBusMessage> send(const QDBusConnection& bus, const QDBusMessage& call, int limit, QObject* owner) {
    Event<QDBusMessage> answer;
    // Without a bus the call would never be answered, not even by an error.
    if (!bus.isConnected()) {
        answer.complete(call.createErrorReply(QDBusError::Disconnected, u"There is no bus."_s));
        return answer;
    }
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call, limit), owner);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, [watcher, answer] {
        watcher->deleteLater();
        answer.complete(watcher->reply());
    });
    return answer;
}

UnitRefusal::Reason reasonOf(const QString& error) {
    if (error == u"org.freedesktop.DBus.Error.InteractiveAuthorizationRequired"_s) {
        return UnitRefusal::Reason::noAgent;
    }
    if (error == u"org.freedesktop.DBus.Error.AccessDenied"_s) {
        return UnitRefusal::Reason::notAllowed;
    }
    if (error == u"org.freedesktop.systemd1.UnitMasked"_s) {
        return UnitRefusal::Reason::masked;
    }
    if (error == u"org.freedesktop.systemd1.NoSuchUnit"_s) {
        return UnitRefusal::Reason::missing;
    }
    return UnitRefusal::Reason::other;
}

SystemdUnits::Bus unlessStandIns(SystemdUnits::Bus bus) {
    return [bus = std::move(bus)] {
        const bool standIns = !qEnvironmentVariableIsEmpty("ORVANEL_TOOL_ROOT");
        return standIns ? QDBusConnection(u"none"_s) : bus();
    };
}

} // namespace

SystemdUnits::SystemdUnits(Bus systemBus, Bus userBus, std::chrono::milliseconds limit)
    : m_systemBus(std::move(systemBus))
    , m_userBus(std::move(userBus))
    , m_limit(static_cast<int>(limit.count())) {}

SystemdUnits::Bus SystemdUnits::systemBus() {
    return unlessStandIns(&QDBusConnection::systemBus);
}

SystemdUnits::Bus SystemdUnits::userBus() {
    return unlessStandIns(&QDBusConnection::sessionBus);
}

QDBusConnection SystemdUnits::busOf(ServiceUnit::Manager manager) const {
    return manager == ServiceUnit::Manager::system ? m_systemBus() : m_userBus();
}

QCoro::Task<std::optional<UnitState>> SystemdUnits::state(ServiceUnit unit) {
    const QDBusConnection bus = busOf(unit.manager);
    const QVariantList name{unit.name};
    const auto loading = send(bus, callToManager(u"LoadUnit"_s, name), m_limit, &m_calls);
    const QDBusMessage loaded = co_await loading;
    const auto path = loaded.arguments().value(0).value<QDBusObjectPath>();
    if (loaded.type() != QDBusMessage::ReplyMessage || path.path().isEmpty()) {
        co_return std::nullopt;
    }
    const auto values = co_await properties(bus, path.path(), unitInterface);
    if (!values) {
        co_return std::nullopt;
    }
    UnitState state{.load = values->value(u"LoadState"_s).toString(),
                    .active = values->value(u"ActiveState"_s).toString()};
    if (state.active == u"failed"_s && unit.name.endsWith(u".service"_s)) {
        const auto more = co_await properties(bus, path.path(), serviceInterface);
        state.result = more ? more->value(u"Result"_s).toString() : QString();
    }
    co_return state;
}

QCoro::Task<std::optional<QVariantMap>> SystemdUnits::properties(QDBusConnection bus, QString path, QString interface) {
    auto call = QDBusMessage::createMethodCall(serviceName, path, u"org.freedesktop.DBus.Properties"_s, u"GetAll"_s);
    call.setArguments({interface});
    const auto asking = send(bus, call, m_limit, &m_calls);
    const QDBusMessage answer = co_await asking;
    if (answer.type() != QDBusMessage::ReplyMessage || answer.arguments().isEmpty()) {
        co_return std::nullopt;
    }
    co_return qdbus_cast<QVariantMap>(answer.arguments().constFirst());
}

QCoro::Task<std::optional<UnitRefusal>> SystemdUnits::start(ServiceUnit unit, std::stop_token stop) {
    const QVariantList arguments{unit.name, u"replace"_s};
    QDBusMessage call = callToManager(u"StartUnit"_s, arguments);
    call.setInteractiveAuthorizationAllowed(true);
    const QDBusConnection bus = busOf(unit.manager);
    const Event<QDBusMessage> answering = send(bus, call, noLimit, &m_calls);
    // The question stays where it is, and may still be answered: nothing more follows from it here.
    const std::stop_callback onStop(stop, [answering] { answering.complete(QDBusMessage()); });
    const QDBusMessage answer = co_await answering;
    if (answer.type() == QDBusMessage::ReplyMessage) {
        co_return std::nullopt;
    }
    if (answer.type() == QDBusMessage::InvalidMessage) {
        co_return UnitRefusal{UnitRefusal::Reason::cancelled};
    }
    co_return UnitRefusal{reasonOf(answer.errorName()), answer.errorMessage()};
}

} // namespace orvanel
