#include "controller/RuntimeSetup.h"

#include "controller/CappedLog.h"
#include "task/Clock.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel {
namespace {

constexpr auto installLimit = 1800s;
constexpr auto startLimit = 900s;
constexpr auto waitProbeLimit = 10s;
constexpr auto waitPause = 2s;
constexpr int waitProbes = 10;

Failure cancelledOr(const CommandResult& result, const QString& message) {
    return failed(result.cancelled ? u"Cancelled."_s : message, result.output);
}

} // namespace

RuntimeSetup::RuntimeSetup(const ContainerContext& context, Clock& clock, Refresh refresh, TaskScope& tasks)
    : m_context(context)
    , m_clock(clock)
    , m_refresh(std::move(refresh))
    , m_slot(tasks) {}

void RuntimeSetup::installAndStart() {
    run(u"runtime installation"_s, [this](std::stop_token stop) { return performInstall(stop); });
}

void RuntimeSetup::start() {
    const std::optional<Container> container = knownContainer(m_context);
    if (container) {
        run(u"runtime start"_s,
            [this, container = *container](std::stop_token stop) { return startColimaIfNeeded(container, stop); });
    }
}

/// The log stays afterwards, so that a failed setup can be read.
void RuntimeSetup::run(const QString& name, OperationSlot::Body body) {
    if (m_slot.isTaken()) {
        return;
    }
    m_context.state.update([](ControllerState& state) {
        state.error = std::nullopt;
        state.suggestedPort = std::nullopt;
        state.setupLog.clear();
    });
    m_slot.begin(name, std::move(body), [this](const Outcome& outcome, const std::stop_token&) {
        m_context.state.update([&outcome](ControllerState& state) {
            state.setupBusy = std::nullopt;
            if (outcome) {
                state.error = outcome->error;
                state.suggestedPort = outcome->suggestedPort;
            }
        });
    });
}

QCoro::Task<Outcome> RuntimeSetup::performInstall(std::stop_token stop) {
    const Outcome notInstalled = co_await install();
    if (notInstalled) {
        co_return notInstalled;
    }
    m_context.state.update([](ControllerState& state) {
        state.dockerPath = std::nullopt;
        state.composeAvailable = std::nullopt;
    });
    const std::optional<Container> found = findContainer(m_context);
    if (!found) {
        co_return failed(u"The docker command line tool was not found after the install."_s, m_context.state->setupLog);
    }
    const Container& container = *found;
    const Outcome started = co_await startColimaIfNeeded(container, stop);
    co_return started;
}

/// Installs what is missing.
QCoro::Task<Outcome> RuntimeSetup::install() {
    const HostFunctions& host = m_context.host;
    if (host.tool(u"colima"_s) && host.docker(m_context.state->dockerOverride)) {
        co_return std::nullopt;
    }
    const std::optional<QString> brew = host.tool(u"brew"_s);
    if (!brew) {
        co_return failed(u"Homebrew is not installed, so the app cannot install Colima for you."_s);
    }
    showStep(u"Installing Colima and Docker with Homebrew"_s, u"brew install colima docker"_s);
    const QStringList arguments{u"install"_s, u"colima"_s, u"docker"_s};
    const CommandResult result = co_await command(*brew, arguments, installLimit);
    if (!result.isSuccess()) {
        co_return cancelledOr(result, u"Homebrew could not install Colima and Docker."_s);
    }
    co_return std::nullopt;
}

QCoro::Task<Outcome> RuntimeSetup::startColimaIfNeeded(Container container, std::stop_token stop) {
    const CommandResult probe = co_await container.runtime();
    if (probe.isSuccess()) {
        publishReady(container);
        co_await m_refresh(stop);
        co_return std::nullopt;
    }
    const std::optional<QString> colima = m_context.host.tool(u"colima"_s);
    if (!colima) {
        co_return failed(u"Colima is not installed."_s, probe.output);
    }
    showStep(u"Starting Colima (the first start downloads a small Linux VM)"_s, u"colima start"_s);
    const QStringList arguments(u"start"_s);
    const CommandResult start = co_await command(*colima, arguments, startLimit);
    if (!start.isSuccess()) {
        co_return cancelledOr(start, u"Colima could not start."_s);
    }
    const bool answers = co_await waitForDaemon(container.docker(), stop);
    if (!answers) {
        co_return failed(u"Colima started but the Docker daemon is not answering."_s, start.output);
    }
    publishReady(container);
    co_await m_refresh(stop);
    co_return std::nullopt;
}

/// Says nothing of another tool that the user may have chosen meanwhile.
void RuntimeSetup::publishReady(const Container& container) {
    if (m_context.state->dockerPath == container.docker()) {
        setDockerState(m_context.state, DockerState::ready);
    }
}

/// A cancel only cuts the pauses short: the remaining probes run, because the runtime itself is started already.
QCoro::Task<bool> RuntimeSetup::waitForDaemon(QString docker, std::stop_token stop) {
    const QStringList ps(u"ps"_s);
    for (int probes = 0; probes < waitProbes; ++probes) {
        const CommandResult probe = co_await m_context.host.run(docker, ps, waitProbeLimit, nullptr, nullptr);
        if (probe.isSuccess()) {
            co_return true;
        }
        co_await sleepFor(&m_clock, waitPause, stop);
    }
    co_return false;
}

QCoro::Task<CommandResult> RuntimeSetup::command(QString path, QStringList arguments, std::chrono::seconds limit) {
    const DockerCLI::OutputCallback feed = cappedLogFeed(m_context.state, &ControllerState::setupLog);
    return m_context.host.run(path, arguments, limit, m_slot.handle(), feed);
}

void RuntimeSetup::showStep(const QString& text, const QString& commandLine) {
    m_context.state.update([&](ControllerState& state) {
        state.setupBusy = text;
        state.setupLog = appendCapped(state.setupLog, u"$ %1\n"_s.arg(commandLine));
    });
}

} // namespace orvanel
