#include "controller/Container.h"

#include "controller/CappedLog.h"
#include "controller/ContainerAnswer.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel {
namespace {

constexpr auto composeVersionLimit = 10s;
constexpr auto probeLimit = 10s;
constexpr auto infoLimit = 15s;
constexpr auto inspectLimit = 15s;
constexpr auto pullLimit = 3600s;
constexpr auto upLimit = 180s;
constexpr auto stopLimit = 60s;
constexpr auto removeOldLimit = 60s;
constexpr auto removeLimit = 90s;
constexpr auto logsLimit = 15s;

QStringList removeArguments() {
    return {u"rm"_s, u"-f"_s, u"orvanel"_s};
}

} // namespace

Container::Container(const ContainerContext& context, QString docker)
    : m_context(context)
    , m_docker(std::move(docker)) {}

QCoro::Task<CommandResult> Container::command(QStringList arguments, std::chrono::seconds limit) const {
    CommandResult result = co_await m_context.host.run(m_docker, arguments, limit, nullptr, nullptr);
    result.output = withoutPodmansNotice(result.output);
    co_return result;
}

QStringList Container::composeArgs(const QStringList& extra) const {
    return QStringList{u"compose"_s, u"-p"_s, u"orvanel"_s, u"-f"_s, m_context.files.composeFile()} + extra;
}

std::optional<QString> Container::prepareFiles(const ContainerContext& context) {
    const ControllerState& state = *context.state;
    return context.files.prepare(state.imageTag, state.port, state.dockerKind.value_or(DockerKind::docker));
}

/// The name of the image with that tag, or of the pinned one.
QCoro::Task<QString> Container::image(std::optional<QString> tag) const {
    if (!m_kind) {
        co_await hasCompose();
    }
    co_return imageReference(tag.value_or(m_context.state->imageTag), m_kind.value_or(DockerKind::docker));
}

QString Container::dataMount() const {
    return m_context.files.dataDir() + u":/app/data"_s;
}

QCoro::Task<CommandResult> Container::runtime() const {
    const QStringList arguments(u"info"_s);
    const CommandResult result = co_await command(arguments, infoLimit);
    learnFrom(result);
    co_return result;
}

/// Docker and podman may take each other's place under the same name while the program runs.
void Container::learnFrom(const CommandResult& info) const {
    if (!info.isSuccess()) {
        return;
    }
    m_kind = kindByInfo(info.output);
    if (m_context.state->dockerPath != m_docker) {
        return;
    }
    m_context.state.update([kind = *m_kind](ControllerState& next) {
        if (next.dockerKind.value_or(kind) != kind) {
            next.composeAvailable = std::nullopt;
        }
        next.dockerKind = kind;
    });
}

QCoro::Task<CommandResult> Container::probe() const {
    const QStringList arguments{u"inspect"_s, u"-f"_s, u"{{.State.Status}}"_s, u"orvanel"_s};
    return command(arguments, probeLimit);
}

QCoro::Task<std::optional<QString>> Container::state() const {
    const CommandResult answer = co_await probe();
    if (answer.status != 0) {
        co_return std::nullopt;
    }
    co_return stateWord(answer.output);
}

QCoro::Task<bool> Container::hasImage(std::optional<QString> tag) const {
    const QString name = co_await image(tag);
    const QStringList arguments{u"image"_s, u"inspect"_s, name};
    const CommandResult result = co_await command(arguments, inspectLimit);
    co_return result.isSuccess();
}

QCoro::Task<bool> Container::hasCompose() const {
    StateStore& state = m_context.state;
    if (state->composeAvailable && state->dockerPath == m_docker) {
        m_kind = m_kind ? m_kind : state->dockerKind;
        co_return *state->composeAvailable;
    }
    const QStringList arguments{u"compose"_s, u"version"_s};
    const CommandResult result = co_await command(arguments, composeVersionLimit);
    const bool isThere = result.isSuccess() && isDockerCompose(result.output);
    m_kind = m_kind ? m_kind : kindByComposeVersion(result.output);
    // The user may have chosen another tool meanwhile, about which this answer says nothing.
    if (state->dockerPath != m_docker) {
        co_return isThere;
    }
    // Another task may have asked at the same time; all go by the first answer.
    if (!state->composeAvailable) {
        state.update([&](ControllerState& next) {
            next.composeAvailable = isThere;
            next.dockerKind = next.dockerKind ? next.dockerKind : m_kind;
        });
    }
    co_return *state->composeAvailable;
}

QCoro::Task<CommandResult> Container::pull(std::shared_ptr<ProcessHandle> handle, std::optional<QString> tag) const {
    QStringList arguments;
    // Compose downloads what its file names, the pinned one.
    if (!tag) {
        const bool compose = co_await hasCompose();
        arguments = compose ? composeArgs(QStringList(u"pull"_s)) : arguments;
    }
    if (arguments.isEmpty()) {
        const QString name = co_await image(tag);
        arguments = QStringList{u"pull"_s, name};
    }
    const DockerCLI::OutputCallback feed = cappedLogFeed(m_context.state, &ControllerState::pullLog);
    CommandResult result = co_await m_context.host.run(m_docker, arguments, pullLimit, handle, feed);
    result.output = withoutPodmansNotice(result.output);
    co_return result;
}

/// Runs a command that starts the container. It must end before anything can stop the container for good.
QCoro::Task<CommandResult> Container::startingCommand(QStringList arguments) const {
    const std::shared_ptr<const void> underWay = m_context.bringUp.begin();
    const CommandResult result = co_await command(arguments, upLimit);
    co_return result;
}

/// Succeeds also if the container has been unpaused meanwhile.
QCoro::Task<CommandResult> Container::unpause() const {
    const QStringList arguments{u"unpause"_s, u"orvanel"_s};
    const CommandResult result = co_await startingCommand(arguments);
    if (result.isSuccess()) {
        co_return result;
    }
    const std::optional<QString> word = co_await state();
    co_return word == u"running"_s ? CommandResult{.status = 0} : result;
}

/// Whether the container uses our data folder, so that removing the container loses no data.
QCoro::Task<bool> Container::hasOurData() const {
    const QStringList mounts{u"inspect"_s, u"-f"_s,
                             u"{{range .Mounts}}{{.Source}}:{{.Destination}}{{println}}{{end}}"_s, u"orvanel"_s};
    const CommandResult result = co_await command(mounts, inspectLimit);
    co_return result.isSuccess() && result.output.split(u'\n').contains(dataMount());
}

/// A container of ours that was made without compose has the name that compose wants to use. It is removed, and compose
/// is run again.
QCoro::Task<CommandResult> Container::composeUp() const {
    const QStringList up = composeArgs(QStringList{u"up"_s, u"-d"_s});
    const CommandResult first = co_await startingCommand(up);
    if (!saysNameIsTaken(first)) {
        co_return first;
    }
    const bool isOurs = co_await hasOurData();
    if (!isOurs) {
        co_return first;
    }
    if (!m_context.bringUp.isForbidden()) {
        const QStringList arguments = removeArguments();
        co_await command(arguments, removeOldLimit);
    }
    if (m_context.bringUp.isForbidden()) {
        co_return CommandResult{.cancelled = true};
    }
    const CommandResult second = co_await startingCommand(up);
    co_return second;
}

QCoro::Task<CommandResult> Container::bringUp(std::optional<QString> existing, WhenRunning whenRunning) const {
    const bool compose = co_await hasCompose();
    if (m_context.bringUp.isForbidden()) {
        co_return CommandResult{.cancelled = true};
    }
    // Docker starts no paused container.
    if (isPausedWord(existing)) {
        const CommandResult unpaused = co_await unpause();
        if (!unpaused.isSuccess()) {
            co_return unpaused;
        }
        existing = u"running"_s;
        if (m_context.bringUp.isForbidden()) {
            co_return CommandResult{.cancelled = true};
        }
    }
    if (compose) {
        const CommandResult result = co_await composeUp();
        co_return result;
    }
    if (existing == u"running"_s && whenRunning == WhenRunning::leave) {
        co_return CommandResult{.status = 0};
    }
    if (existing) {
        const QStringList arguments = removeArguments();
        co_await command(arguments, removeOldLimit);
    }
    const QString name = co_await image();
    if (m_context.bringUp.isForbidden()) {
        co_return CommandResult{.cancelled = true};
    }
    const QStringList run{u"run"_s,
                          u"-d"_s,
                          u"--name"_s,
                          u"orvanel"_s,
                          u"--restart"_s,
                          u"unless-stopped"_s,
                          u"-p"_s,
                          u"127.0.0.1:%1:3001"_s.arg(m_context.state->port),
                          u"-v"_s,
                          dataMount(),
                          name};
    const CommandResult result = co_await startingCommand(run);
    co_return result;
}

QCoro::Task<CommandResult> Container::stop() const {
    const bool compose = co_await hasCompose();
    if (compose) {
        const std::optional<QString> word = co_await state();
        if (word) {
            const QStringList composeStop = composeArgs(QStringList(u"stop"_s));
            const CommandResult result = co_await command(composeStop, stopLimit);
            // Compose leaves alone any container that it has not made itself, and calls that a success.
            if (result.isSuccess()) {
                const CommandResult answer = co_await probe();
                if (isStopped(answer)) {
                    co_return result;
                }
            }
        }
    }
    const QStringList plainStop{u"stop"_s, u"orvanel"_s};
    const CommandResult result = co_await command(plainStop, stopLimit);
    co_return result;
}

QCoro::Task<CommandResult> Container::remove() const {
    const bool compose = co_await hasCompose();
    if (compose) {
        // Compose needs its file, which may have been deleted or spoilt; where it cannot be written, compose complains.
        prepareFiles(m_context);
        const QStringList down = composeArgs(QStringList(u"down"_s));
        const CommandResult result = co_await command(down, removeLimit);
        if (!result.isSuccess()) {
            co_return result;
        }
        // Compose leaves alone any container that it has not made itself, and calls that a success.
        const CommandResult answer = co_await probe();
        if (isAbsent(answer)) {
            co_return result;
        }
    }
    const QStringList arguments = removeArguments();
    const CommandResult result = co_await command(arguments, removeLimit);
    co_return result;
}

QCoro::Task<CommandResult> Container::logs() const {
    const QStringList arguments{u"logs"_s, u"--tail"_s, u"300"_s, u"orvanel"_s};
    return command(arguments, logsLimit);
}

QCoro::Task<CommandResult> Container::endOfLog() const {
    const QStringList arguments{u"logs"_s, u"--tail"_s, u"50"_s, u"orvanel"_s};
    return command(arguments, probeLimit);
}

std::optional<Container> knownContainer(const ContainerContext& context) {
    const std::optional<QString>& docker = context.state->dockerPath;
    return docker ? std::optional(Container(context, *docker)) : std::nullopt;
}

std::optional<Container> findContainer(const ContainerContext& context) {
    if (!context.state->dockerPath) {
        context.state.set(&ControllerState::dockerPath, context.host.docker(context.state->dockerOverride));
    }
    return knownContainer(context);
}

} // namespace orvanel
