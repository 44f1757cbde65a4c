#pragma once

#include "RecordingPlatform.h"
#include "ScriptedBackups.h"
#include "ScriptedPage.h"
#include "ScriptedReleases.h"
#include "ScriptedUnits.h"
#include "controller/ControllerEnvironment.h"
#include "controller/HostFunctions.h"
#include "controller/KumaController.h"
#include "standin/tools/InProcessDocker.h"
#include "support/FakeClock.h"
#include "support/TestHome.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace orvanel::test {

/// One command that the controller has run.
struct Command {
    QString path;
    QStringList arguments;
    std::chrono::duration<double> limit{0};
    std::shared_ptr<ProcessHandle> handle;
    bool isWatched = false;
    Clock::TimePoint started;
    /// None while it is under way.
    std::optional<CommandResult> result;

    /// What the command does, without the arguments that say to what: "compose up", "image inspect".
    QString name() const;
};

/// A controller in a world of the test's own: a throw-away home, a fake clock, a stand-in docker in this process,
/// scripted web pages, releases and backups, and a desktop that only records.
class ControllerFixture {
public:
    ControllerFixture();
    /// Ends whatever is still under way.
    ~ControllerFixture();
    ControllerFixture(const ControllerFixture&) = delete;
    ControllerFixture& operator=(const ControllerFixture&) = delete;

    TestHome home;
    FakeClock clock;
    ScriptedPage page{&clock};
    ScriptedReleases releases;
    ScriptedBackups backups;
    RecordingNotifier notifier;
    RecordingLoginItem loginItem;
    RecordingDesktop desktop;
    RecordingDialogs dialogs;
    ScriptedUnits units;

    /// Runs the commands; the stand-in docker, unless a test replaces it.
    RunCommand runner;
    /// How long the stand-in docker takes for a command; no time if empty.
    standin::InProcessDocker::Latency latency;
    QString applicationSupport;
    QString settingsFile;

    /// What the search for tools finds. An override that is in `executables` is found too.
    std::optional<QString> installedDocker = u"/opt/bin/docker"_s;
    QSet<QString> executables;
    QMap<QString, QString> installedTools;
    /// The tools that are only found where Linux puts them.
    QMap<QString, QString> toolsElsewhere;
    /// What asks for the password; none is there at first.
    std::optional<RootHelper> rootHelper;
    /// The session's DOCKER_HOST.
    QString dockerHost;
    int dockerSearches = 0;
    QStringList toolSearches;

    /// Ports on which another program listens, and ports that are only in a closing state.
    QSet<int> listeningPorts;
    QSet<int> closingPorts;

    /// Changes what the controller will be given, for example to the real thing.
    std::function<void(ControllerEnvironment& environment, HostFunctions& host)> adjust;

    /// The controller; it is made at the first call, from the settings file as it is then.
    KumaController& controller();
    /// Ends the controller and makes another one from the settings file.
    KumaController& restartProgram();

    /// This world, for a test that makes the controller itself. That controller must end before the fixture.
    ControllerEnvironment environment();

    standin::DockerState& docker() { return m_docker.state(); }
    /// Makes the next `times` calls of a command (-1 for all) end in this way, after `delay`.
    void answer(const char* command, int exitCode, const QString& output, int times = -1,
                std::chrono::milliseconds delay = {});
    /// Makes the next calls of a command do their work after `duration`.
    void delay(const char* command, std::chrono::milliseconds duration, int times = -1);
    /// Makes the next calls of a command print `output` and never end.
    void hang(const char* command, int times = -1, const QString& output = {});
    void answerAsUsual() { docker().overrides.clear(); }

    const QList<Command>& commands() const { return m_commands; }
    /// The names of the commands begun since the last call, in order.
    QStringList takeCommands();
    /// The commands that have not ended.
    QStringList underWay() const;

    /// Lets everything happen that takes no time.
    void settle();
    void advance(std::chrono::milliseconds duration);
    /// Moves the clock until no operation is under way; false if that does not happen.
    [[nodiscard]] bool operationEnds();
    /// Moves the clock until nothing in the controller is under way.
    [[nodiscard]] bool everythingEnds();
    /// Starts polling with a container that runs and a page that answers; false if the controller does not see that.
    [[nodiscard]] bool isPolledAsRunning();
    void removeContainer() { docker().container.reset(); }

private:
    QCoro::Task<CommandResult> run(QString path, QStringList arguments, std::chrono::duration<double> limit,
                                   std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput);
    void endController();
    [[nodiscard]] bool turnClockUntil(const std::function<bool()>& condition);

    standin::InProcessDocker m_docker{
        &clock, [this](const QString& command) { return latency ? latency(command) : std::chrono::milliseconds(0); }};
    QList<Command> m_commands;
    qsizetype m_taken = 0;
    std::unique_ptr<SettingsStore> m_settings;
    std::unique_ptr<KumaController> m_controller;
};

/// The root helper of a computer with polkit and apt-get.
inline RootHelper aptHelper() {
    return {u"/usr/bin/pkexec"_s, u"/usr/libexec/orvanel-docker-setup"_s, u"apt-get install docker.io"_s};
}

/// The names of commands, or the arguments of one, to compare with.
QStringList names(std::initializer_list<const char*> list);

/// A row of a status page.
MonitorRow monitor(std::int64_t id, std::optional<std::int64_t> status, const QString& name = u"Web"_s);
/// Heartbeats with these statuses, a letter each, oldest first: u up, d down, p pending, m maintenance. One a minute,
/// the last at noon (UTC) of 21 November 2026; what is up has response times about `ping`, the others none.
Heartbeats heartbeats(QStringView letters, std::int64_t ping = 40);
StatusPageData statusPage(const QList<MonitorRow>& monitors, const QString& title = u"Home"_s);

} // namespace orvanel::test
