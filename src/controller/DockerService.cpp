#include "controller/DockerService.h"

#include "controller/EngineAddress.h"
#include "controller/PermissionDenied.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel {
namespace {

using Manager = ServiceUnit::Manager;

/// Looks, with two seconds between them: at one that comes up slowly, and at one that is up but silent.
constexpr int looksWhileStarting = 90;
constexpr int looksWhenUp = 10;

const ServiceUnit systemService{u"docker.service"_s, Manager::system};
const ServiceUnit systemSocket{u"docker.socket"_s, Manager::system};

QList<ServiceUnit> candidates(const QString& complaint) {
    const ServiceUnit rootless{u"docker.service"_s, Manager::user};
    const QString address = engineAddress(complaint);
    if (isUsersEngine(address)) {
        return {rootless};
    }
    // An engine that the tool does not ask would not help.
    if (!isSystemEngine(address)) {
        return {};
    }
    return {systemService, systemSocket, rootless, {u"snap.docker.dockerd.service"_s, Manager::system}};
}

bool isStopped(const UnitState& state) {
    const bool isKnown = state.load == u"loaded"_s || state.load == u"masked"_s;
    return isKnown && state.active != u"active"_s && state.active != u"reloading"_s;
}

QString command(const ServiceUnit& unit) {
    const QString which = unit.manager == Manager::user ? u"--user "_s : QString();
    return u"$ systemctl %1start %2\n"_s.arg(which, unit.name);
}

QString unmask(const ServiceUnit& unit) {
    const QString how = unit.manager == Manager::user ? u"systemctl --user"_s : u"sudo systemctl"_s;
    return u"%1 unmask %2"_s.arg(how, unit.name);
}

Failure refused(const ServiceUnit& unit, const UnitRefusal& refusal) {
    switch (refusal.reason) {
    case UnitRefusal::Reason::notAllowed:
        return failed(
            u"The password was not accepted, or the question for it was dismissed, so Docker was not started."_s,
            refusal.words);
    case UnitRefusal::Reason::noAgent:
        return failed(u"This desktop has no program that asks for your password, so Docker was not started."_s,
                      refusal.words);
    case UnitRefusal::Reason::masked:
        return failed(u"Docker's service is masked on this computer. Run “%1”, then try again."_s.arg(unmask(unit)),
                      refusal.words);
    case UnitRefusal::Reason::missing:
        return failed(u"Docker's service no longer exists."_s, refusal.words);
    case UnitRefusal::Reason::cancelled:
        return failed(u"Cancelled."_s);
    case UnitRefusal::Reason::other:
        break;
    }
    return failed(u"Docker's service could not be started."_s, refusal.words);
}

} // namespace

DockerService::DockerService(SetupFrame& frame, ServiceUnits* units)
    : m_frame(frame)
    , m_units(units) {}

QCoro::Task<std::optional<ServiceUnit>> DockerService::findStopped(QString complaint) const {
    std::optional<ServiceUnit> masked;
    bool systemServiceRuns = false;
    if (m_units == nullptr || isPermissionDenied(complaint)) {
        co_return std::nullopt;
    }
    const QList<ServiceUnit> units = candidates(complaint);
    for (const ServiceUnit& unit : units) {
        const std::optional<UnitState> state = co_await m_units->state(unit);
        if (!state || !isStopped(*state)) {
            // A service that runs can do without its socket, which systemd would otherwise listen on for it.
            systemServiceRuns = systemServiceRuns || (state && unit == systemService && state->active == u"active"_s);
            continue;
        }
        if (systemServiceRuns && unit == systemSocket) {
            continue;
        }
        if (state->load != u"masked"_s) {
            co_return unit;
        }
        if (!masked) {
            masked = unit;
        }
    }
    co_return masked;
}

void DockerService::start() {
    const std::optional<ServiceUnit> unit = m_frame.state()->stoppedService;
    if (unit && m_units != nullptr) {
        m_frame.run(u"start of Docker"_s, [this, unit = *unit](std::stop_token stop) { return perform(unit, stop); });
    }
}

QCoro::Task<Outcome> DockerService::perform(ServiceUnit unit, std::stop_token stop) {
    m_frame.showTitle(u"Starting Docker"_s);
    m_frame.addToLog(command(unit));
    const std::optional<UnitRefusal> refusal = co_await m_units->start(unit, stop);
    if (refusal) {
        co_return refused(unit, *refusal);
    }
    const std::optional<Container> known = knownContainer(m_frame.context());
    if (!known) {
        co_return std::nullopt;
    }
    m_frame.showTitle(u"Waiting for Docker to answer"_s);
    const QString docker = known->docker();
    const Outcome outcome = co_await waitUntilItAnswers(unit, docker, stop);
    co_return outcome;
}

/// A cancel ends the wait, and the service comes up without us.
QCoro::Task<Outcome> DockerService::waitUntilItAnswers(ServiceUnit unit, QString docker, std::stop_token stop) {
    CommandResult answer;
    std::optional<UnitState> state;
    int looksAtOneThatIsUp = 0;
    for (int looks = 0; looks < looksWhileStarting && looksAtOneThatIsUp < looksWhenUp; ++looks) {
        answer = co_await m_frame.ask(docker);
        if (answer.isSuccess()) {
            co_await m_frame.publishReady(docker, stop);
            co_return std::nullopt;
        }
        // One that refuses its user is up, and has a card of its own.
        if (isPermissionDenied(answer.output)) {
            co_await m_frame.refresh(stop);
            co_return std::nullopt;
        }
        state = co_await m_units->state(unit);
        if (state && state->active == u"failed"_s) {
            const Outcome failure = co_await failureOf(unit, *state);
            co_return failure;
        }
        if (!state || state->active != u"activating"_s) {
            ++looksAtOneThatIsUp;
        }
        co_await m_frame.pause(stop);
        if (stop.stop_requested()) {
            co_return failed(u"Cancelled."_s, answer.output);
        }
    }
    // A unit that it depends on did not start.
    if (state && state->active == u"inactive"_s) {
        const Outcome failure = co_await failureOf(unit, *state);
        co_return failure;
    }
    const QString lines = co_await lastLines(unit);
    co_return failed(u"Docker's service was started, but Docker is not answering."_s,
                     lines.isEmpty() ? answer.output : lines);
}

QCoro::Task<Outcome> DockerService::failureOf(ServiceUnit unit, UnitState state) {
    const QString lines = co_await lastLines(unit);
    co_return failed(u"Docker's service failed to start."_s,
                     u"%1: %2 (%3)\n%4"_s.arg(unit.name, state.active, state.result, lines).trimmed());
}

/// Empty where the user may not read the system's log.
QCoro::Task<QString> DockerService::lastLines(ServiceUnit unit) {
    const std::optional<QString> journalctl = m_frame.host().tool(u"journalctl"_s);
    if (!journalctl) {
        co_return QString();
    }
    const QStringList arguments{u"--no-pager"_s,
                                u"--quiet"_s,
                                u"--lines"_s,
                                u"20"_s,
                                unit.manager == Manager::user ? u"--user-unit"_s : u"--unit"_s,
                                unit.name};
    const CommandResult result = co_await m_frame.host().run(*journalctl, arguments, 10s, nullptr, nullptr);
    co_return result.isSuccess() ? result.output : QString();
}

} // namespace orvanel
