#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <optional>
#include <stop_token>

namespace orvanel {

/// A service that a service manager knows, such as docker.service.
struct ServiceUnit {
    enum class Manager {
        system, ///< the computer's own
        user,   ///< that of the user's login
    };

    QString name;
    Manager manager = Manager::system;

    bool operator==(const ServiceUnit&) const = default;
};

/// What a manager tells of a unit, in systemd's words (org.freedesktop.systemd1(5)).
struct UnitState {
    /// "loaded", "masked", "not-found" …
    QString load;
    /// "active", "inactive", "activating", "failed" …
    QString active;
    /// Why it failed: "exit-code", "timeout" …; "success" where it did not.
    QString result = {};

    bool operator==(const UnitState&) const = default;
};

/// Why a unit was not started.
struct UnitRefusal {
    enum class Reason {
        notAllowed, ///< wrong password, or the question was dismissed
        noAgent,    ///< nobody could ask for the password
        masked,
        missing,
        cancelled,
        other,
    };

    Reason reason = Reason::other;
    /// What the manager said.
    QString words = {};
};

/// The service managers of the computer and of the user's login. Main thread; never blocks.
class ServiceUnits {
public:
    ServiceUnits() = default;
    virtual ~ServiceUnits() = default;
    ServiceUnits(const ServiceUnits&) = delete;
    ServiceUnits& operator=(const ServiceUnits&) = delete;

    /// None where there is no such manager, or no answer.
    virtual QCoro::Task<std::optional<UnitState>> state(ServiceUnit unit) = 0;

    /// Asks the manager to start the unit, which may take the user's password. Ends when the manager has begun with it:
    /// whether it comes up, only state() tells. None when it has begun. `stop` ends the wait at once.
    virtual QCoro::Task<std::optional<UnitRefusal>> start(ServiceUnit unit, std::stop_token stop) = 0;
};

} // namespace orvanel
