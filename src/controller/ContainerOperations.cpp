#include "controller/CappedLog.h"
#include "controller/ContainerAnswer.h"
#include "controller/KumaController.h"
#include "controller/LogFeed.h"
#include "task/Worker.h"

#include <QDir>
#include <QPointer>
#include <QScopeGuard>

#include <exception>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel {
namespace {

constexpr auto infoLimit = 15s;
constexpr auto inspectLimit = 15s;
constexpr auto pullLimit = 3600s;
constexpr auto upLimit = 180s;
/// How long the end of the program waits for what is being brought up, before it is stopped in any case.
constexpr auto bringUpPatience = 30s;
constexpr auto removeOldLimit = 60s;
constexpr auto removeAllLimit = 90s;
constexpr auto logsLimit = 15s;

QString startingText() {
    return u"Starting Uptime Kuma…"_s;
}

QStringList removeContainerArguments() {
    return {u"rm"_s, u"-f"_s, u"orvanel"_s};
}

} // namespace

void KumaController::start() {
    runOp(startingText(), [this](std::stop_token stop) { return performStart(stop); });
}

void KumaController::stop() {
    runOp(u"Stopping…"_s, [this](std::stop_token) { return performStop(); });
}

void KumaController::restart() {
    runOp(u"Restarting…"_s, [this](std::stop_token stop) { return performRestart(stop); });
}

void KumaController::removeEverything() {
    m_tasks.start(confirmRemoveEverything(), u"question about removing everything"_s);
}

void KumaController::cancelOperation() {
    if (m_opTask) {
        m_opTask->request_stop();
    }
    if (m_processHandle) {
        m_processHandle->cancel();
    }
}

void KumaController::runOp(const QString& label, OperationBody body) {
    if (m_opTask) {
        return;
    }
    m_opTask.emplace();
    m_operations += 1;
    showOperation(label);
    m_state.set(&ControllerState::error, std::nullopt);
    m_state.set(&ControllerState::suggestedPort, std::nullopt);
    m_tasks.start(performOp(std::move(body)), label);
}

QCoro::Task<void> KumaController::performOp(OperationBody body) {
    const std::stop_token stop = m_opTask->get_token();
    try {
        co_await body(stop);
    } catch (const std::exception& failure) {
        fail(failure);
    }
    m_state.set(&ControllerState::busy, std::nullopt);
    m_state.set(&ControllerState::pulling, false);
    m_opTask.reset();
    m_processHandle.reset();
    co_await refresh(stop);
    if (!m_opTask) {
        showBackups();
    }
}

QCoro::Task<void> KumaController::performStart(std::stop_token stop) {
    if (!m_state->dockerPath) {
        m_state.set(&ControllerState::dockerPath, m_env.findDocker(m_state->dockerOverride));
    }
    if (!m_state->dockerPath) {
        setDockerState(DockerState::missing);
        co_return;
    }
    const QString docker = *m_state->dockerPath;

    const QStringList info{u"info"_s};
    const CommandResult runtime = co_await command(docker, info, infoLimit);
    if (stop.stop_requested()) {
        co_return;
    }
    if (!runtime.isSuccess()) {
        setDockerState(DockerState::notRunning, runtime.output);
        co_return;
    }
    setDockerState(DockerState::ready);
    if (const std::optional<QString> failure = prepareFiles()) {
        m_state.set(&ControllerState::error, OpError{u"Could not write the compose file."_s, *failure});
        co_return;
    }

    const std::optional<QString> existing = co_await containerState(docker);
    // A running container of our own holds the port itself.
    if (existing != u"running"_s && isPortTaken(m_state->port)) {
        m_state.set(&ControllerState::suggestedPort, freePort());
        m_state.set(&ControllerState::error,
                    OpError{u"Port %1 is already in use by another program."_s.arg(m_state->port),
                            u"Port %1 on 127.0.0.1 could not be bound."_s.arg(m_state->port)});
        co_return;
    }

    const QStringList inspect{u"image"_s, u"inspect"_s, imageReference()};
    const CommandResult image = co_await command(docker, inspect, inspectLimit);
    if (!image.isSuccess()) {
        const CommandResult pull = co_await pullImage(docker, stop);
        if (!pull.isSuccess()) {
            fail(pull);
            co_return;
        }
    }
    if (stop.stop_requested()) {
        co_return;
    }
    showOperation(startingText());
    const CommandResult up = co_await bringUp(docker, existing, false);
    if (!up.isSuccess()) {
        fail(up);
    }
}

QCoro::Task<void> KumaController::performStop() {
    co_await tryStop();
}

QCoro::Task<bool> KumaController::tryStop() {
    if (!m_state->dockerPath) {
        co_return true;
    }
    const QString docker = *m_state->dockerPath;
    const std::optional<QString> existing = co_await containerState(docker);
    if (!existing) {
        co_return true;
    }
    const CommandResult result = co_await runStop(docker);
    if (!result.isSuccess()) {
        fail(result);
    }
    co_return result.isSuccess();
}

/// What a backup meanwhile has to say of itself is no reason not to start again.
QCoro::Task<void> KumaController::performRestart(std::stop_token stop) {
    const bool isStopped = co_await tryStop();
    if (isStopped) {
        co_await performStart(stop);
    }
}

QCoro::Task<CommandResult> KumaController::pullImage(QString docker, std::stop_token stop) {
    showOperation(u"Downloading the Uptime Kuma image"_s);
    m_state.set(&ControllerState::pulling, true);
    m_state.set(&ControllerState::pullLog, QString());
    const auto handle = std::make_shared<ProcessHandle>();
    m_processHandle = handle;
    // Cancelled already, before there was a handle to cancel: then nothing is downloaded.
    if (stop.stop_requested() || m_isLeaving) {
        handle->cancel();
    }
    const bool hasCompose = co_await ensureCompose(docker);
    const QStringList arguments =
        hasCompose ? composeArgs(QStringList(u"pull"_s)) : QStringList{u"pull"_s, imageReference()};
    const DockerCLI::OutputCallback feed = logFeed([self = QPointer(this)](const QString& text) {
        if (self) {
            self->m_state.set(&ControllerState::pullLog, appendCapped(self->m_state->pullLog, text));
        }
    });
    const CommandResult result = co_await m_env.run(docker, arguments, pullLimit, handle, feed);
    m_state.set(&ControllerState::pulling, false);
    co_return result;
}

/// One that starts the container, and so has to end before anybody can stop it for good.
QCoro::Task<CommandResult> KumaController::startingCommand(QString docker, QStringList arguments) {
    const Event<> end;
    m_comingUp = end;
    const auto ended = qScopeGuard([end] { end.complete(); });
    const CommandResult result = co_await command(docker, arguments, upLimit);
    co_return result;
}

QCoro::Task<void> KumaController::bringUpEnd() {
    if (!m_comingUp) {
        co_return;
    }
    const Event<> end = *m_comingUp;
    const auto limit = m_env.clock->callAfter(bringUpPatience, [end] { end.complete(); });
    co_await end;
}

/// Whether the container works on our data, so that nothing but the container is lost with it.
QCoro::Task<bool> KumaController::hasOurData(QString docker) {
    const QStringList mounts{u"inspect"_s, u"-f"_s,
                             u"{{range .Mounts}}{{.Source}}:{{.Destination}}{{println}}{{end}}"_s, u"orvanel"_s};
    const CommandResult result = co_await command(docker, mounts, inspectLimit);
    co_return result.isSuccess() && result.output.split(u'\n').contains(dataMount());
}

/// A container from a time without compose bears the name that compose wants to give, and makes room.
QCoro::Task<CommandResult> KumaController::composeUp(QString docker) {
    const QStringList up = composeArgs(QStringList{u"up"_s, u"-d"_s});
    const CommandResult first = co_await startingCommand(docker, up);
    if (!saysNameIsTaken(first)) {
        co_return first;
    }
    const bool isOurs = co_await hasOurData(docker);
    if (!isOurs) {
        co_return first;
    }
    if (!m_isLeaving) {
        co_await command(docker, removeContainerArguments(), removeOldLimit);
    }
    if (m_isLeaving) {
        co_return CommandResult{.cancelled = true};
    }
    const CommandResult second = co_await startingCommand(docker, up);
    co_return second;
}

QString KumaController::dataMount() const {
    return dataDir() + u":/app/data"_s;
}

QCoro::Task<CommandResult> KumaController::bringUp(QString docker, std::optional<QString> existing, bool recreate) {
    const bool hasCompose = co_await ensureCompose(docker);
    if (m_isLeaving) {
        co_return CommandResult{.cancelled = true};
    }
    if (hasCompose) {
        const CommandResult result = co_await composeUp(docker);
        co_return result;
    }
    if (existing == u"running"_s && !recreate) {
        co_return CommandResult{.status = 0};
    }
    if (existing) {
        co_await command(docker, removeContainerArguments(), removeOldLimit);
    }
    if (m_isLeaving) {
        co_return CommandResult{.cancelled = true};
    }
    const QStringList run{u"run"_s,        u"-d"_s,
                          u"--name"_s,     u"orvanel"_s,
                          u"--restart"_s,  u"unless-stopped"_s,
                          u"-p"_s,         u"127.0.0.1:%1:3001"_s.arg(m_state->port),
                          u"-v"_s,         dataMount(),
                          imageReference()};
    const CommandResult result = co_await startingCommand(docker, run);
    co_return result;
}

/// A port that the system only keeps in a closing state, because our own container was just stopped while somebody
/// was connected, can be listened on again at once.
bool KumaController::isPortTaken(int port) const {
    return !m_env.isPortFree(port) && !m_env.isPortFreeForListening(port);
}

void KumaController::showOperation(const QString& text) {
    m_operationText = text;
    m_state.set(&ControllerState::busy, text);
}

/// An error from elsewhere takes the place of the last operation's, and with it of the way out that was offered.
void KumaController::replaceError(const OpError& error) {
    m_state.set(&ControllerState::suggestedPort, std::nullopt);
    m_state.set(&ControllerState::error, error);
}

void KumaController::fail(const CommandResult& result) {
    if (result.cancelled) {
        m_state.set(&ControllerState::error, OpError{u"Cancelled."_s, result.output});
        return;
    }
    const QString message = DockerCLI::friendlyMessage(result.output, result.timedOut);
    m_state.set(&ControllerState::error, OpError{message, result.output.isEmpty() ? u"(no output)"_s : result.output});
    if (message.startsWith(u"The port is already in use"_s)) {
        m_state.set(&ControllerState::suggestedPort, freePort());
    }
}

void KumaController::fail(const std::exception& failure) {
    m_state.set(&ControllerState::error,
                OpError{u"Orvanel ran into an error of its own."_s, QString::fromUtf8(failure.what())});
}

QCoro::Task<void> KumaController::confirmRemoveEverything() {
    const Alert question{
        .style = Alert::Style::Critical,
        .message = u"Remove everything?"_s,
        .informativeText = u"This removes the Uptime Kuma container and permanently deletes all your "
                           "monitors and history in this folder:\n\n%1\n\nThis cannot be undone."_s.arg(dataDir()),
        .confirmButton = u"Delete Everything"_s,
        .cancelButton = u"Cancel"_s,
    };
    const bool confirmed = co_await m_env.dialogs->confirm(question);
    if (confirmed) {
        runOp(u"Removing…"_s, [this](std::stop_token) { return performRemoveEverything(); });
    }
}

/// False when the container may still be there, with the reason published.
QCoro::Task<bool> KumaController::removeContainer() {
    const ContainerLook look = co_await lookAtContainer();
    if (!look.docker || look.answer.status != 0) {
        const bool isInDoubt = mayServerRun(look);
        if (isInDoubt) {
            m_state.set(&ControllerState::error, unknownContainerError(look.answer, u"Nothing was deleted."_s));
        }
        co_return !isInDoubt;
    }
    // The user may have named another tool since.
    const QString docker = *look.docker;
    const bool hasCompose = co_await ensureCompose(docker);
    if (hasCompose) {
        // Compose needs its file, which somebody may have deleted or spoilt; where it cannot be written, compose
        // complains.
        prepareFiles();
        const QStringList down = composeArgs(QStringList(u"down"_s));
        const CommandResult result = co_await command(docker, down, removeAllLimit);
        if (!result.isSuccess()) {
            fail(result);
            co_return false;
        }
        // A container that compose has not made itself it leaves alone, and calls that a success.
        const CommandResult probe = co_await probeContainer(docker);
        if (isAbsent(probe)) {
            co_return true;
        }
    }
    const CommandResult result = co_await command(docker, removeContainerArguments(), removeAllLimit);
    if (!result.isSuccess()) {
        fail(result);
    }
    co_return result.isSuccess();
}

/// The state of the container, before its data is touched.
QCoro::Task<KumaController::ContainerLook> KumaController::lookAtContainer() {
    if (!m_state->dockerPath) {
        m_state.set(&ControllerState::dockerPath, m_env.findDocker(m_state->dockerOverride));
    }
    ContainerLook look{.docker = m_state->dockerPath};
    if (look.docker) {
        look.answer = co_await probeContainer(*look.docker);
    } else {
        // Told where the port is in use; see mayServerRun().
        look.answer.output = u"Docker was not found, and port %1 is in use."_s.arg(m_state->port);
    }
    co_return look;
}

/// Containers may live on when the daemon has gone, or the tool cannot be found, but then they hold their port.
bool KumaController::mayServerRun(const ContainerLook& look) const {
    if (!look.docker) {
        return isPortTaken(m_state->port);
    }
    const bool hasNoDaemon = !look.answer.isSuccess() && !isAbsent(look.answer);
    return !leavesDataAlone(look.answer) || (hasNoDaemon && isPortTaken(m_state->port));
}

QCoro::Task<void> KumaController::performRemoveEverything() {
    const bool isGone = co_await removeContainer();
    if (!isGone) {
        co_return;
    }
    const DataTurns::Turn turn = co_await m_dataTurns.take();
    const auto removal = [folder = dataDir()] { QDir(folder).removeRecursively(); };
    co_await onWorker(removal);
    m_state.set(&ControllerState::monitors, QList<MonitorRow>());
}

QCoro::Task<QString> KumaController::fetchLogs() {
    if (!m_state->dockerPath) {
        co_return u"Docker was not found."_s;
    }
    const QString docker = *m_state->dockerPath;
    const QStringList arguments{u"logs"_s, u"--tail"_s, u"300"_s, u"orvanel"_s};
    const CommandResult result = co_await command(docker, arguments, logsLimit);
    if (result.status != 0 && result.output.isEmpty()) {
        co_return u"No logs. The container may not exist yet."_s;
    }
    co_return result.output;
}

} // namespace orvanel
