#pragma once

#include "controller/SetupFrame.h"
#include "platform/ServiceUnits.h"

namespace orvanel {

/// The service of Docker's engine: finds the one that is stopped, and starts it. Main thread only; what it is given
/// must outlive it.
class DockerService {
public:
    /// `units` may be null: then there are none.
    DockerService(SetupFrame& frame, ServiceUnits* units);

    /// The unit to start when no engine answers: the system's, a rootless one of the user's, or snap's. `complaint`:
    /// what the docker tool says, which names the socket that it tried. A masked one only where there is no other.
    QCoro::Task<std::optional<ServiceUnit>> findStopped(QString complaint) const;

    /// Starts the unit that the state offers, and waits until Docker answers.
    void start();

private:
    QCoro::Task<Outcome> perform(ServiceUnit unit, std::stop_token stop);
    QCoro::Task<Outcome> waitUntilItAnswers(ServiceUnit unit, QString docker, std::stop_token stop);
    QCoro::Task<Outcome> failureOf(ServiceUnit unit, UnitState state);
    QCoro::Task<QString> lastLines(ServiceUnit unit);

    SetupFrame& m_frame;
    ServiceUnits* const m_units;
};

} // namespace orvanel
