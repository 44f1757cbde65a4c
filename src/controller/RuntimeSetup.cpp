#include "controller/CappedLog.h"
#include "controller/KumaController.h"
#include "controller/LogFeed.h"
#include "task/Clock.h"

#include <QPointer>
#include <QScopeGuard>

#include <exception>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel {
namespace {

constexpr auto installLimit = 1800s;
constexpr auto infoLimit = 15s;
constexpr auto startLimit = 900s;
constexpr auto waitProbeLimit = 10s;
constexpr auto waitPause = 2s;
constexpr int waitProbes = 10;

QString cancelledOr(const CommandResult& result, const QString& message) {
    return result.cancelled ? u"Cancelled."_s : message;
}

} // namespace

void KumaController::installAndStartRuntime() {
    runSetup(u"runtime installation"_s, [this](std::stop_token stop) { return performInstall(stop); });
}

void KumaController::startRuntime() {
    if (m_state->dockerPath) {
        runSetup(u"runtime start"_s, [this, docker = *m_state->dockerPath](std::stop_token stop) {
            return startColimaIfNeeded(docker, stop);
        });
    }
}

void KumaController::cancelSetup() {
    if (m_setupHandle) {
        m_setupHandle->cancel();
    }
    if (m_setupTask) {
        m_setupTask->request_stop();
    }
}

void KumaController::runSetup(const QString& name, OperationBody body) {
    if (m_setupTask) {
        return;
    }
    m_setupTask.emplace();
    m_setupHandle = std::make_shared<ProcessHandle>();
    m_state.set(&ControllerState::error, std::nullopt);
    m_state.set(&ControllerState::suggestedPort, std::nullopt);
    m_state.set(&ControllerState::setupLog, QString());
    m_tasks.start(performSetup(std::move(body)), name);
}

/// The error and the log stay, so that a failed setup can be read.
QCoro::Task<void> KumaController::performSetup(OperationBody body) {
    const auto ended = qScopeGuard([this] {
        m_state.set(&ControllerState::setupBusy, std::nullopt);
        m_setupTask.reset();
        m_setupHandle.reset();
    });
    const std::stop_token stop = m_setupTask->get_token();
    try {
        co_await body(stop);
    } catch (const std::exception& failure) {
        fail(failure);
    }
}

QCoro::Task<void> KumaController::performInstall(std::stop_token stop) {
    const bool isInstalled = co_await installRuntime();
    if (!isInstalled) {
        co_return;
    }
    m_state.set(&ControllerState::dockerPath, std::nullopt);
    m_state.set(&ControllerState::composeAvailable, std::nullopt);
    const std::optional<QString> docker = m_env.findDocker(m_state->dockerOverride);
    if (!docker) {
        m_state.set(&ControllerState::error,
                    OpError{u"The docker command line tool was not found after the install."_s, m_state->setupLog});
        co_return;
    }
    m_state.set(&ControllerState::dockerPath, docker);
    co_await startColimaIfNeeded(*docker, stop);
}

/// Installs what is missing; false when that failed, with the reason published.
QCoro::Task<bool> KumaController::installRuntime() {
    if (m_env.findTool(u"colima"_s) && m_env.findDocker(m_state->dockerOverride)) {
        co_return true;
    }
    const std::optional<QString> brew = m_env.findTool(u"brew"_s);
    if (!brew) {
        m_state.set(&ControllerState::error,
                    OpError{u"Homebrew is not installed, so the app cannot install Colima for you."_s, {}});
        co_return false;
    }
    m_state.set(&ControllerState::setupBusy, u"Installing Colima and Docker with Homebrew"_s);
    appendSetup(u"$ brew install colima docker\n"_s);
    const QStringList arguments{u"install"_s, u"colima"_s, u"docker"_s};
    const CommandResult result = co_await setupCommand(*brew, arguments, installLimit);
    if (!result.isSuccess()) {
        m_state.set(&ControllerState::error,
                    OpError{cancelledOr(result, u"Homebrew could not install Colima and Docker."_s), result.output});
        co_return false;
    }
    co_return true;
}

QCoro::Task<void> KumaController::startColimaIfNeeded(QString docker, std::stop_token stop) {
    const QStringList info{u"info"_s};
    const CommandResult probe = co_await command(docker, info, infoLimit);
    if (probe.isSuccess()) {
        publishReady(docker);
        co_await refresh(stop);
        co_return;
    }
    const std::optional<QString> colima = m_env.findTool(u"colima"_s);
    if (!colima) {
        m_state.set(&ControllerState::error, OpError{u"Colima is not installed."_s, probe.output});
        co_return;
    }
    m_state.set(&ControllerState::setupBusy, u"Starting Colima (the first start downloads a small Linux VM)"_s);
    appendSetup(u"$ colima start\n"_s);
    const QStringList arguments(u"start"_s);
    const CommandResult start = co_await setupCommand(*colima, arguments, startLimit);
    if (!start.isSuccess()) {
        m_state.set(&ControllerState::error, OpError{cancelledOr(start, u"Colima could not start."_s), start.output});
        co_return;
    }
    const bool answers = co_await waitForDaemon(docker, stop);
    if (!answers) {
        m_state.set(&ControllerState::error,
                    OpError{u"Colima started but the Docker daemon is not answering."_s, start.output});
        co_return;
    }
    publishReady(docker);
    co_await refresh(stop);
}

/// Says nothing of another tool that the user may have chosen meanwhile.
void KumaController::publishReady(const QString& docker) {
    if (m_state->dockerPath == docker) {
        setDockerState(DockerState::ready);
    }
}

/// A cancel only cuts the pauses short: the remaining probes run, because the runtime itself is started already.
QCoro::Task<bool> KumaController::waitForDaemon(QString docker, std::stop_token stop) {
    const QStringList ps(u"ps"_s);
    for (int probes = 0; probes < waitProbes; ++probes) {
        const CommandResult probe = co_await command(docker, ps, waitProbeLimit);
        if (probe.isSuccess()) {
            co_return true;
        }
        co_await sleepFor(m_env.clock, waitPause, stop);
    }
    co_return false;
}

/// Runs one of the long commands of a setup: it can be cancelled, and its output goes to the live log.
QCoro::Task<CommandResult> KumaController::setupCommand(QString path, QStringList arguments,
                                                        std::chrono::seconds limit) {
    const DockerCLI::OutputCallback feed = logFeed([self = QPointer(this)](const QString& text) {
        if (self) {
            self->appendSetup(text);
        }
    });
    return m_env.run(path, arguments, limit, m_setupHandle, feed);
}

void KumaController::appendSetup(const QString& text) {
    m_state.set(&ControllerState::setupLog, appendCapped(m_state->setupLog, text));
}

} // namespace orvanel
