#include "controller/SetupFrame.h"

#include "controller/CappedLog.h"
#include "task/Clock.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel {
namespace {

constexpr auto waitProbeLimit = 10s;
constexpr auto waitPause = 2s;
constexpr int waitProbes = 10;

} // namespace

Failure cancelledOr(const CommandResult& result, const QString& message) {
    return failed(result.cancelled ? u"Cancelled."_s : message, result.output);
}

SetupFrame::SetupFrame(const ContainerContext& context, Clock& clock, Refresh refresh, TaskScope& tasks)
    : m_context(context)
    , m_clock(clock)
    , m_refresh(std::move(refresh))
    , m_slot(tasks) {}

/// The log stays afterwards, so that a failed setup can be read.
void SetupFrame::run(const QString& name, OperationSlot::Body body) {
    if (m_slot.isTaken()) {
        return;
    }
    m_titleWhenCancelled.clear();
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

void SetupFrame::cancel() {
    if (m_slot.isTaken() && !m_titleWhenCancelled.isEmpty()) {
        showTitle(m_titleWhenCancelled);
    }
    m_slot.cancel();
}

DockerCLI::OutputCallback SetupFrame::log() const {
    return cappedLogFeed(m_context.state, &ControllerState::setupLog);
}

void SetupFrame::showTitle(const QString& title) {
    m_context.state.set(&ControllerState::setupBusy, title);
}

void SetupFrame::addToLog(const QString& text) {
    m_context.state.update([&](ControllerState& state) { state.setupLog = appendCapped(state.setupLog, text); });
}

void SetupFrame::forgetDocker() {
    m_context.state.update([](ControllerState& state) {
        state.dockerPath = std::nullopt;
        state.composeAvailable = std::nullopt;
        state.dockerKind = std::nullopt;
    });
}

Failure SetupFrame::dockerNotFound() const {
    return failed(u"The docker command line tool was not found after the install."_s, m_context.state->setupLog);
}

QCoro::Task<void> SetupFrame::pause(std::stop_token stop) {
    return sleepFor(&m_clock, waitPause, stop);
}

QCoro::Task<CommandResult> SetupFrame::ask(QString docker) {
    const QStringList ps(u"ps"_s);
    return m_context.host.run(docker, ps, waitProbeLimit, nullptr, nullptr);
}

/// A cancel only cuts the pauses short: the remaining probes run, because the runtime itself is started already.
QCoro::Task<CommandResult> SetupFrame::waitForDaemon(QString docker, std::stop_token stop) {
    CommandResult probe;
    for (int probes = 0; probes < waitProbes && !probe.isSuccess(); ++probes) {
        probe = co_await ask(docker);
        if (!probe.isSuccess()) {
            co_await pause(stop);
        }
    }
    co_return probe;
}

QCoro::Task<void> SetupFrame::publishReady(QString docker, std::stop_token stop) {
    if (m_context.state->dockerPath == docker) {
        setDockerState(m_context.state, DockerState::ready);
    }
    co_await m_refresh(stop);
}

} // namespace orvanel
