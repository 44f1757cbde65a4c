#include "ControllerFixture.h"

#include "standin/tools/StandInDocker.h"
#include "support/Await.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel::test {

QString Command::name() const {
    standin::Arguments list;
    for (const QString& argument : arguments) {
        list.push_back(argument.toStdString());
    }
    const auto name = standin::commandName(QFileInfo(path).fileName().toStdString(), list);
    return name ? QString::fromStdString(*name) : u"unknown: "_s + arguments.join(u' ');
}

ControllerFixture::ControllerFixture()
    : applicationSupport(home.path(u".local/share"_s))
    , settingsFile(home.path(u".config/Orvanel/Orvanel.conf"_s)) {
    runner = m_docker.runner();
}

ControllerFixture::~ControllerFixture() {
    endController();
}

KumaController& ControllerFixture::controller() {
    if (!m_controller) {
        m_controller = std::make_unique<KumaController>(environment());
    }
    return *m_controller;
}

KumaController& ControllerFixture::restartProgram() {
    endController();
    return controller();
}

ControllerEnvironment ControllerFixture::environment() {
    m_settings = std::make_unique<SettingsStore>(settingsFile);
    ControllerEnvironment env;
    env.defaults = m_settings.get();
    env.clock = &clock;
    env.notifier = &notifier;
    env.loginItem = &loginItem;
    env.desktop = &desktop;
    env.dialogs = &dialogs;
    env.units = &units;
    env.applicationSupport = applicationSupport;
    const auto host = std::make_shared<HostFunctions>();
    host->run = [this](QString path, QStringList arguments, std::chrono::duration<double> limit,
                       std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput) {
        return run(std::move(path), std::move(arguments), limit, std::move(handle), std::move(onOutput));
    };
    host->runToItsEnd = host->run;
    host->rootHelper = [this] { return rootHelper; };
    host->dockerHost = [this] { return dockerHost; };
    host->findDocker = [this](const QString& override) -> std::optional<QString> {
        dockerSearches += 1;
        return executables.contains(override.trimmed()) ? override.trimmed() : installedDocker;
    };
    host->findTool = [this](const QString& name) -> std::optional<QString> {
        toolSearches.append(name);
        return installedTools.contains(name) ? std::optional(installedTools.value(name)) : std::nullopt;
    };
    host->findToolElsewhere = [this](const QString& name) -> std::optional<QString> {
        return toolsElsewhere.contains(name) ? std::optional(toolsElsewhere.value(name)) : std::nullopt;
    };
    host->isPortFree = [this](int port) { return !listeningPorts.contains(port) && !closingPorts.contains(port); };
    host->isPortFreeForListening = [this](int port) { return !listeningPorts.contains(port); };
    env.pageAnswers = [this](int port) { return page.pageAnswers(port); };
    env.fetchStatusPage = [this](int port, QString slug) { return page.fetch(port, std::move(slug)); };
    env.fetchLatestRelease = [this] { return releases.fetch(); };
    backups.install(*host);
    if (adjust) {
        adjust(env, *host);
    }
    env.host = host;
    return env;
}

QCoro::Task<CommandResult> ControllerFixture::run(QString path, QStringList arguments,
                                                  std::chrono::duration<double> limit,
                                                  std::shared_ptr<ProcessHandle> handle,
                                                  DockerCLI::OutputCallback onOutput) {
    const qsizetype index = m_commands.size();
    Command begun{path, arguments, limit, handle, bool(onOutput), clock.now(), std::nullopt};
    m_commands.append(begun);
    const CommandResult result = co_await runner(path, arguments, limit, handle, onOutput);
    m_commands[index].result = result;
    co_return result;
}

void ControllerFixture::answer(const char* command, int exitCode, const QString& output, int times,
                               std::chrono::milliseconds delay) {
    docker().overrides.push_back({.command = command,
                                  .exitCode = exitCode,
                                  .out = output.toStdString(),
                                  .delay = static_cast<int>(delay.count()),
                                  .times = times});
}

void ControllerFixture::delay(const char* command, std::chrono::milliseconds duration, int times) {
    docker().overrides.push_back({.command = command, .delay = static_cast<int>(duration.count()), .times = times});
}

void ControllerFixture::hang(const char* command, int times, const QString& output) {
    docker().overrides.push_back({.command = command, .out = output.toStdString(), .hangs = true, .times = times});
}

QStringList ControllerFixture::takeCommands() {
    QStringList names;
    for (; m_taken < m_commands.size(); ++m_taken) {
        names.append(m_commands.at(m_taken).name());
    }
    return names;
}

QStringList ControllerFixture::underWay() const {
    QStringList names;
    for (const Command& command : m_commands) {
        if (!command.result) {
            names.append(command.name());
        }
    }
    return names;
}

void ControllerFixture::settle() {
    drainEvents();
    while (clock.untilNextTimer() == 0ms) {
        clock.advance(0ms);
    }
}

void ControllerFixture::advance(std::chrono::milliseconds duration) {
    settle();
    clock.advance(duration);
    settle();
}

/// Moves the clock on only when nothing else happens, because jobs on other threads take real time.
bool ControllerFixture::turnClockUntil(const std::function<bool()>& condition) {
    return waitUntil([&] {
        settle();
        if (condition()) {
            return true;
        }
        clock.advance(std::max(clock.untilNextTimer(), 0ms));
        return condition();
    });
}

bool ControllerFixture::operationEnds() {
    return turnClockUntil([this] { return !controller().state().busy && underWay().isEmpty(); });
}

bool ControllerFixture::everythingEnds() {
    return turnClockUntil([this] { return controller().isIdle(); });
}

bool ControllerFixture::isPolledAsRunning() {
    standin::addContainer(docker(), "running", controller().state().port);
    controller().begin();
    settle();
    return controller().state().kuma == KumaState::running;
}

void ControllerFixture::endController() {
    if (!m_controller) {
        return;
    }
    m_controller->shutdownPolling();
    m_controller->cancelOperation();
    page.letGo();
    releases.letGo();
    backups.letGo();
    units.letGo();
    dialogs.close();
    if (!everythingEnds()) {
        qFatal("the controller did not end");
    }
    m_controller.reset();
    dialogs.isClosed = false;
}

QStringList names(std::initializer_list<const char*> list) {
    QStringList result;
    for (const char* name : list) {
        result.append(QString::fromLatin1(name));
    }
    return result;
}

MonitorRow monitor(std::int64_t id, std::optional<std::int64_t> status, const QString& name) {
    return {.id = id, .name = name, .group = {}, .status = status, .ping = {}, .uptime24 = {}};
}

Heartbeats heartbeats(QStringView letters, std::int64_t ping) {
    using namespace std::chrono;
    constexpr auto noon = sys_days(2026y / November / 21) + 12h;
    constexpr QStringView codes = u"dupm";
    const auto block = std::make_shared<Heartbeats::Block>();
    for (qsizetype i = 0; i < letters.size(); ++i) {
        const qsizetype status = codes.indexOf(letters[i]);
        const auto time = noon - minutes(letters.size() - 1 - i);
        const auto response = status == 1 ? std::optional(ping + i * 7 % 5) : std::nullopt;
        block->emplace_back(time, status, response);
    }
    return {block, 0, block->size()};
}

StatusPageData statusPage(const QList<MonitorRow>& monitors, const QString& title) {
    return {.title = title, .monitors = monitors};
}

} // namespace orvanel::test
