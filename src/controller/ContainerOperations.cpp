#include "controller/ContainerOperations.h"

#include "controller/ContainerAnswer.h"
#include "controller/DataTurns.h"
#include "process/DockerComplaint.h"
#include "task/Worker.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

QString startingText() {
    return u"Starting Uptime Kuma…"_s;
}

Alert removeQuestion(const QString& dataDir) {
    return {
        .style = Alert::Style::Critical,
        .message = u"Remove everything?"_s,
        .informativeText =
            u"This removes the Uptime Kuma container and permanently deletes all your monitors and history "
            "in this folder:\n\n%1\n\nThis cannot be undone."_s.arg(dataDir),
        .confirmButton = u"Delete Everything"_s,
        .cancelButton = u"Cancel"_s,
    };
}

} // namespace

ContainerOperations::ContainerOperations(const ContainerContext& context, Operations& operations,
                                         const ConversionWatch& conversions, const DataTurns& dataTurns,
                                         Dialogs& dialogs, TaskScope& tasks)
    : m_context(context)
    , m_operations(operations)
    , m_conversions(conversions)
    , m_dataTurns(dataTurns)
    , m_dialogs(dialogs)
    , m_tasks(tasks) {}

void ContainerOperations::start() {
    m_operations.run(startingText(), [this](std::stop_token stop) { return performStart(stop); });
}

void ContainerOperations::stop() {
    m_operations.run(u"Stopping…"_s, [this](std::stop_token) { return stopIfAllowed(); });
}

void ContainerOperations::restart() {
    m_operations.run(u"Restarting…"_s, [this](std::stop_token stop) { return performRestart(stop); });
}

void ContainerOperations::removeEverything() {
    m_tasks.start(confirmRemoveEverything(), u"question about removing everything"_s);
}

Failure ContainerOperations::failure(const CommandResult& result) const {
    Failure failure = failed(result);
    if (!result.cancelled && complaintOf(result) == DockerComplaint::portTaken) {
        failure.suggestedPort = freePort();
    }
    return failure;
}

QCoro::Task<Outcome> ContainerOperations::performStart(std::stop_token stop) {
    StateStore& state = m_context.state;
    const std::optional<Container> found = findContainer(m_context);
    if (!found) {
        setDockerState(state, DockerState::missing);
        co_return std::nullopt;
    }
    const Container& container = *found;
    const CommandResult runtime = co_await container.runtime();
    if (stop.stop_requested()) {
        co_return std::nullopt;
    }
    if (!runtime.isSuccess()) {
        setDockerState(state, DockerState::notRunning, runtime.output);
        co_return std::nullopt;
    }
    setDockerState(state, DockerState::ready);
    if (const std::optional<QString> reason = Container::prepareFiles(m_context)) {
        co_return failed(u"Could not write the compose file."_s, *reason);
    }

    const std::optional<QString> existing = co_await container.state();
    // What runs needs no start, which might replace the container.
    if (existing == u"running"_s && state->conversion) {
        co_return std::nullopt;
    }
    // A running container of our own holds the port itself.
    const int port = state->port;
    if (!holdsPort(existing) && isPortTaken(port)) {
        Failure taken = failed(u"Port %1 is already in use by another program."_s.arg(port),
                               u"Port %1 on 127.0.0.1 could not be bound."_s.arg(port));
        taken.suggestedPort = freePort();
        co_return taken;
    }

    const bool hasImage = co_await container.hasImage();
    if (!hasImage) {
        const CommandResult pull = co_await pullImage(container, stop);
        if (!pull.isSuccess()) {
            co_return failure(pull);
        }
    }
    if (stop.stop_requested()) {
        co_return std::nullopt;
    }
    m_operations.show(startingText());
    const CommandResult up = co_await container.bringUp(existing, Container::WhenRunning::leave);
    if (!up.isSuccess()) {
        co_return failure(up);
    }
    co_return std::nullopt;
}

QCoro::Task<Outcome> ContainerOperations::stopIfAllowed() {
    const bool isAllowed = co_await m_conversions.mayStop();
    if (!isAllowed) {
        co_return std::nullopt;
    }
    const Outcome stopped = co_await performStop();
    co_return stopped;
}

QCoro::Task<Outcome> ContainerOperations::performStop() {
    const std::optional<Container> known = knownContainer(m_context);
    if (!known) {
        co_return std::nullopt;
    }
    const Container& container = *known;
    const std::optional<QString> existing = co_await container.state();
    if (!existing) {
        co_return std::nullopt;
    }
    const CommandResult result = co_await container.stop();
    if (!result.isSuccess()) {
        co_return failure(result);
    }
    co_return std::nullopt;
}

/// What a backup meanwhile has to say of itself is no reason not to start again.
QCoro::Task<Outcome> ContainerOperations::performRestart(std::stop_token stop) {
    const bool isAllowed = co_await m_conversions.mayStop();
    if (!isAllowed) {
        co_return std::nullopt;
    }
    const Outcome stopped = co_await performStop();
    if (stopped) {
        co_return stopped;
    }
    const Outcome started = co_await performStart(stop);
    co_return started;
}

QCoro::Task<CommandResult> ContainerOperations::pullImage(Container container, std::stop_token stop,
                                                          std::optional<QString> tag) {
    m_operations.show(u"Downloading the Uptime Kuma image"_s);
    m_context.state.update([](ControllerState& state) {
        state.pulling = true;
        state.pullLog.clear();
    });
    const std::shared_ptr<ProcessHandle> handle = m_operations.handle();
    // Cancelled before: then nothing is downloaded.
    if (stop.stop_requested() || m_context.bringUp.isForbidden()) {
        handle->cancel();
    }
    const CommandResult result = co_await container.pull(handle, tag);
    m_context.state.set(&ControllerState::pulling, false);
    co_return result;
}

/// A port that the system only keeps in a closing state, because our own container was just stopped while a client was
/// connected, can be listened on again at once.
bool ContainerOperations::isPortTaken(int port) const {
    return !m_context.host.isPortFree(port) && !m_context.host.isPortFreeForListening(port);
}

std::optional<int> ContainerOperations::freePort() const {
    for (int candidate = 3002; candidate <= 3010; ++candidate) {
        if (candidate != m_context.state->port && m_context.host.isPortFree(candidate)) {
            return candidate;
        }
    }
    return std::nullopt;
}

QCoro::Task<void> ContainerOperations::confirmRemoveEverything() {
    const Alert question = removeQuestion(m_context.files.dataDir());
    const bool confirmed = co_await m_dialogs.confirm(question);
    if (confirmed) {
        m_operations.run(u"Removing…"_s, [this](std::stop_token) { return performRemoveEverything(); });
    }
}

QCoro::Task<ContainerOperations::Look> ContainerOperations::look() {
    Look look{.container = findContainer(m_context)};
    if (look.container) {
        look.answer = co_await look.container->probe();
    } else {
        // Told where the port is in use; see mayServerRun().
        look.answer.output = u"Docker was not found, and port %1 is in use."_s.arg(m_context.state->port);
    }
    co_return look;
}

/// Containers may live on when the daemon has gone, or the tool cannot be found, but then they hold their port.
bool ContainerOperations::mayServerRun(const Look& look) const {
    const int port = m_context.state->port;
    if (!look.container) {
        return isPortTaken(port);
    }
    const bool hasNoDaemon = !look.answer.isSuccess() && !isAbsent(look.answer);
    return !leavesDataAlone(look.answer) || (hasNoDaemon && isPortTaken(port));
}

QCoro::Task<Outcome> ContainerOperations::obstacleToData(QString consequence) {
    const Look seen = co_await look();
    if (mayServerRun(seen)) {
        co_return Failure{.error = unknownContainerError(seen.answer, consequence)};
    }
    co_return std::nullopt;
}

/// A failure when the container may still be there.
QCoro::Task<Outcome> ContainerOperations::removeContainer() {
    const Look seen = co_await look();
    if (!seen.container || seen.answer.status != 0) {
        if (mayServerRun(seen)) {
            co_return Failure{.error = unknownContainerError(seen.answer, u"Nothing was deleted."_s)};
        }
        co_return std::nullopt;
    }
    // The user may have named another tool since.
    const Container container = *seen.container;
    const CommandResult result = co_await container.remove();
    if (!result.isSuccess()) {
        co_return failure(result);
    }
    co_return std::nullopt;
}

QCoro::Task<Outcome> ContainerOperations::performRemoveEverything() {
    const bool isAllowed = co_await m_conversions.mayStop();
    if (!isAllowed) {
        co_return std::nullopt;
    }
    const Outcome notRemoved = co_await removeContainer();
    if (notRemoved) {
        co_return notRemoved;
    }
    const DataTurns::Turn turn = co_await m_dataTurns.take();
    const auto removal = [folder = m_context.files.dataDir()] { QDir(folder).removeRecursively(); };
    co_await onWorker(removal);
    m_context.state.set(&ControllerState::monitors, QList<MonitorRow>());
    co_return std::nullopt;
}

} // namespace orvanel
