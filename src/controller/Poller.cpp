#include "controller/Poller.h"

#include "controller/ContainerAnswer.h"
#include "task/Clock.h"

#include <QDebug>

#include <exception>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel {
namespace {

constexpr auto pollPeriod = 3s;
/// A container that was restarting counts as restarting until it has run for this long. Docker waits up to a minute
/// between two attempts, and says "running" during each.
constexpr auto provenRun = 60s;

} // namespace

Poller::Poller(const ContainerContext& context, Operations& operations, const ConversionWatch& conversions,
               const DockerService& service, StatusWatch& statusWatch, Clock& clock, TaskScope& tasks,
               std::function<void()> alsoEachTime)
    : m_context(context)
    , m_operations(operations)
    , m_conversions(conversions)
    , m_service(service)
    , m_statusWatch(statusWatch)
    , m_clock(clock)
    , m_tasks(tasks)
    , m_alsoEachTime(std::move(alsoEachTime)) {}

void Poller::begin() {
    if (m_pollTask) {
        return;
    }
    m_pollTask.emplace();
    m_tasks.start(poll(m_pollTask->get_token()), u"poll loop"_s);
}

void Poller::end() {
    if (m_pollTask) {
        m_pollTask->request_stop();
        m_pollTask.reset();
    }
}

void Poller::recheck() {
    m_context.state.set(&ControllerState::dockerPath, std::nullopt);
    setDockerState(m_context.state, DockerState::unknown);
    m_tasks.start(refreshSoon(), u"recheck"_s);
}

QCoro::Task<void> Poller::poll(std::stop_token stop) {
    while (!stop.stop_requested()) {
        // One tick that fails must not be the last one.
        try {
            co_await pollOnce(stop);
        } catch (const std::exception& failure) {
            qWarning() << "A poll ended with an error:" << failure.what();
        }
        co_await sleepFor(&m_clock, pollPeriod, stop);
    }
}

QCoro::Task<void> Poller::pollOnce(std::stop_token stop) {
    co_await refresh(stop);
    if (!stop.stop_requested()) {
        co_await m_statusWatch.fetchWhenDue();
    }
}

/// In a later turn of the event loop, so that the interface gets to show that nothing is known.
QCoro::Task<void> Poller::refreshSoon() {
    const Event<> turn;
    const PostToThread post = postToThisThread();
    post([turn] { turn.complete(); });
    co_await turn;
    const std::stop_token never;
    co_await refresh(never);
}

QCoro::Task<void> Poller::refresh(std::stop_token stop) {
    if (m_context.state->busy) {
        co_return;
    }
    if (m_alsoEachTime) {
        m_alsoEachTime();
    }
    const std::optional<Container> found = findTools();
    if (!found) {
        co_return;
    }
    const Container& container = *found;
    const int generation = m_operations.generation();
    const CommandResult probe = co_await container.probe();
    if (isOutdated(container, generation) || stop.stop_requested() || probe.timedOut || probe.cancelled) {
        co_return;
    }
    if (probe.status == 0 && stateWord(probe.output) == u"running"_s) {
        publishDockerAnswers();
        const PageAnswer page = co_await m_conversions.page();
        if (isOutdated(container, generation)) {
            co_return;
        }
        const std::optional<Conversion> conversion = co_await ConversionWatch::conversionBehind(page, container);
        if (isOutdated(container, generation)) {
            co_return;
        }
        publishRunning(page, conversion);
    } else if (probe.status == 0 && stateWord(probe.output) == u"restarting"_s) {
        const bool wasInterrupted = co_await ConversionWatch::wasInterrupted(container);
        if (isOutdated(container, generation)) {
            co_return;
        }
        publishDockerAnswers();
        publishRestarting(wasInterrupted);
    } else if (probe.status != 0 && !saysNoContainer(probe.output)) {
        const std::optional<ServiceUnit> service = co_await m_service.findStopped(probe.output);
        if (isOutdated(container, generation)) {
            co_return;
        }
        publishNoRuntime(probe.output, service);
    } else {
        publishNotRunning(probe);
    }
    m_operations.settled();
    m_context.bringUp.forget();
    if (m_context.state->dockerState == DockerState::ready) {
        co_await container.hasCompose();
    }
}

/// Whether an operation has begun since `generation`, which knows better even when it has ended by now, or the user has
/// chosen another tool.
bool Poller::isOutdated(const Container& container, int generation) const {
    const ControllerState& state = *m_context.state;
    return state.busy || m_operations.generation() != generation || state.dockerPath != container.docker();
}

/// Looks up the tools; none when there is no docker to ask.
std::optional<Container> Poller::findTools() {
    StateStore& state = m_context.state;
    state.set(&ControllerState::brewPath, m_context.host.tool(u"brew"_s));
    state.set(&ControllerState::colimaPath, m_context.host.tool(u"colima"_s));
    // Nobody needs it while Docker answers, and the look is at many files.
    if (state->dockerState != DockerState::ready) {
        const std::optional<RootHelper> helper = m_context.host.rootHelper();
        state.set(&ControllerState::canBeLetIn, helper.has_value());
        state.set(&ControllerState::installCommand, helper ? helper->installCommand : std::nullopt);
        state.set(&ControllerState::dockerHost, m_context.host.dockerHost());
    }
    std::optional<Container> container = findContainer(m_context);
    if (!container) {
        setDockerState(state, DockerState::missing);
        publishStopped();
        m_operations.settled();
    } else if (state->dockerState == DockerState::unknown || state->dockerState == DockerState::missing) {
        setDockerState(state, DockerState::notRunning);
    }
    return container;
}

void Poller::publishDockerAnswers() {
    setDockerState(m_context.state, DockerState::ready);
    const std::optional<OpError>& error = m_context.state->error;
    if (error && error->kind == ErrorKind::dockerSilent) {
        m_context.state.set(&ControllerState::error, std::nullopt);
    }
}

/// Whether a container that runs now was restarting so recently that it may do so again. Not if an operation has begun
/// since then.
bool Poller::mayRestartAgain() const {
    return m_restart && m_restart->generation == m_operations.generation() &&
           m_clock.now() - m_restart->seen < provenRun;
}

void Poller::publishRunning(PageAnswer page, const std::optional<Conversion>& conversion) {
    const bool answers = page == PageAnswer::usual;
    if (!answers && !conversion && mayRestartAgain()) {
        return;
    }
    m_restart.reset();
    m_context.state.update([&](ControllerState& state) {
        state.kuma = answers ? KumaState::running : KumaState::starting;
        state.isPaused = false;
        state.conversion = conversion;
        if (answers && state.error && isRestartLoop(state.error->kind)) {
            state.error = std::nullopt;
        }
    });
}

void Poller::publishNoRuntime(const QString& details, const std::optional<ServiceUnit>& service) {
    m_context.state.update([&](ControllerState& state) {
        state.dockerState = DockerState::notRunning;
        state.runtimeDetails = details;
        state.stoppedService = service;
    });
    publishStopped();
}

void Poller::publishNotRunning(const CommandResult& probe) {
    publishDockerAnswers();
    if (probe.status != 0) {
        publishStopped();
        return;
    }
    publishStopped(stateWord(probe.output));
}

void Poller::publishStopped(const QString& word) {
    m_restart.reset();
    m_context.state.update([&word](ControllerState& state) {
        state.kuma = KumaState::stopped;
        state.isPaused = isPausedWord(word);
        state.conversion = std::nullopt;
    });
}

void Poller::publishRestarting(bool wasConversionInterrupted) {
    m_restart = {m_clock.now(), m_operations.generation()};
    m_context.state.update([wasConversionInterrupted](ControllerState& next) {
        next.kuma = KumaState::error;
        next.isPaused = false;
        next.conversion = std::nullopt;
        next.error = OpError{.message = u"Uptime Kuma keeps restarting. Open the logs to see why."_s,
                             .details = u"restarting"_s,
                             .kind = ErrorKind::restartLoop};
        if (wasConversionInterrupted) {
            next.error->message +=
                u" The conversion of its data was interrupted, so only a copy from before it helps."_s;
            next.error->kind = ErrorKind::interruptedConversion;
        }
        next.suggestedPort = std::nullopt;
    });
}

} // namespace orvanel
