#pragma once

#include "platform/ServiceUnits.h"

#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

#include <chrono>
#include <functional>

namespace orvanel {

/// The units of systemd, through its bus interface (org.freedesktop.systemd1(5)).
class SystemdUnits final : public ServiceUnits {
public:
    /// Connects to a bus when it is first needed.
    using Bus = std::function<QDBusConnection()>;

    /// `limit` bounds the wait for each answer that needs no password.
    SystemdUnits(Bus systemBus, Bus userBus, std::chrono::milliseconds limit = std::chrono::seconds(5));

    /// Those of this computer and login. With stand-in tools (ORVANEL_TOOL_ROOT) there are none.
    static SystemdUnits::Bus systemBus();
    static SystemdUnits::Bus userBus();

    QCoro::Task<std::optional<UnitState>> state(ServiceUnit unit) override;
    /// Polkit's question for the password comes from systemd, in the user's session.
    QCoro::Task<std::optional<UnitRefusal>> start(ServiceUnit unit, std::stop_token stop) override;

private:
    QDBusConnection busOf(ServiceUnit::Manager manager) const;
    QCoro::Task<std::optional<QVariantMap>> properties(QDBusConnection bus, QString path, QString interface);

    const Bus m_systemBus;
    const Bus m_userBus;
    const int m_limit;
    QObject m_calls;
};

} // namespace orvanel
