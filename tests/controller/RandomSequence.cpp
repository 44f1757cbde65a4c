#include "RandomSequence.h"

#include "support/Await.h"

#include <QThreadPool>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using std::chrono::milliseconds;

namespace orvanel::test {
namespace {

QCoro::Task<void> readLogs(KumaController* kuma) {
    const QString logs = co_await kuma->fetchLogs();
    Q_UNUSED(logs)
}

constexpr int mostTurns = 500;

} // namespace

const std::vector<RandomSequence::Choice>& RandomSequence::choices() {
    using S = RandomSequence;
    static const std::vector<Choice> all{
        {10, "start", &S::start},
        {6, "stop", &S::stop},
        {6, "restart", &S::restart},
        {6, "cancel", &S::cancel},
        {3, "remove everything", &S::removeEverything},
        {7, "answer the question", &S::answerDialog},
        {6, "choose a path", &S::choosePath},
        {3, "check for updates", &S::checkForUpdates},
        {5, "update", &S::updateNow},
        {2, "go back", &S::goBack},
        {4, "back up", &S::backUpNow},
        {4, "restore", &S::restoreBackup},
        {4, "daily backup", &S::switchDailyBackup},
        {2, "other day", &S::changeDay},
        {3, "install the runtime", &S::installRuntime},
        {4, "start the runtime", &S::startRuntime},
        {3, "install Docker", &S::installDocker},
        {3, "join the group", &S::joinGroup},
        {4, "start the service", &S::startService},
        {4, "cancel the setup", &S::cancelSetup},
        {4, "recheck", &S::recheck},
        {2, "logs", &S::fetchLogs},
        {6, "begin", &S::begin},
        {2, "shut down", &S::shutDown},
        {36, "pause", &S::pause},
        {8, "long pause", &S::longPause},
        {4, "slug", &S::changeSlug},
        {2, "port", &S::changePort},
        {2, "tag", &S::changeTag},
        {3, "override", &S::changeOverride},
        {4, "daemon", &S::changeDaemon},
        {3, "tools", &S::changeTools},
        {4, "services", &S::changeUnits},
        {4, "password", &S::answerUnits},
        {3, "registry", &S::changeRegistry},
        {3, "ports", &S::changePorts},
        {4, "container", &S::changeContainer},
        {6, "delay", &S::delayCommand},
        {2, "hang", &S::hangCommand},
        {3, "fail", &S::failCommand},
        {3, "fail the helper", &S::failHelper},
        {5, "page", &S::changePage},
        {5, "answer of the page", &S::answerPage},
        {6, "status page", &S::changeStatusPage},
        {5, "answer of the status page", &S::answerStatusPage},
        {3, "releases", &S::changeReleases},
        {3, "backups", &S::changeBackups},
        {5, "end of the backups", &S::endBackups},
    };
    return all;
}

RandomSequence::RandomSequence(std::uint64_t seed)
    : m_random(seed) {
    m_world.executables = {u"/mine/docker"_s};
    m_world.latency = [this](const QString&) { return milliseconds(chance(30) ? 0 : below(700)); };
    changeTools();
    m_world.installedDocker = u"/opt/bin/docker"_s;
    if (chance(60)) {
        standin::addImage(m_world.docker());
    }
    if (chance(50)) {
        standin::addContainer(m_world.docker(), oneOf<const char*>({"running", "running", "exited"}));
    }
    const bool wasUpdated = chance(12);
    if (wasUpdated) {
        SettingsStore settings(m_world.settingsFile);
        settings.setText(u"imageTag"_s, u"2.1.0"_s);
        settings.setText(u"safetyCopy"_s, u"2/before-update/f00d"_s);
    }
    m_kuma = &m_world.controller();
    m_watch.attach();
    // Begins with some steps that lead to rare states; otherwise too few sequences would reach them.
    if (chance(60)) {
        changeReleases();
        checkForUpdates();
        changeBackups();
    }
    if (wasUpdated) {
        goBack();
    }
    if (chance(40)) {
        m_kuma->setSlug(u"home"_s);
        m_watch.didChangeSlug();
        begin();
    }
}

/// Does not use std::uniform_int_distribution, whose results differ between standard libraries.
int RandomSequence::below(int bound) {
    return static_cast<int>(m_random() % static_cast<std::uint64_t>(bound));
}

QString RandomSequence::run() {
    const int steps = 20 + below(31);
    for (int i = 0; i < steps && m_watch.violation().isEmpty(); ++i) {
        takeStep();
    }
    finish();
    return m_watch.violation();
}

void RandomSequence::takeStep() {
    int total = 0;
    for (const Choice& choice : choices()) {
        total += choice.weight;
    }
    int drawn = below(total);
    for (const Choice& choice : choices()) {
        drawn -= choice.weight;
        if (drawn < 0) {
            m_trace.append(QString::fromLatin1(choice.name));
            (this->*choice.step)();
            break;
        }
    }
    settle();
    m_watch.checkState();
    note(u"[%1%2]"_s.arg(m_kuma->state().busy.value_or(QString()), m_kuma->state().pulling ? u" pulling" : u""));
}

/// A folder is deleted on another thread. Waiting for that here makes it take no time on the clock, so that a sequence
/// is the same each time.
void RandomSequence::settle() {
    m_world.settle();
    for (int round = 0; round < mostTurns && m_watch.isDeleting(); ++round) {
        QThreadPool::globalInstance()->waitForDone();
        m_world.settle();
    }
}

/// Answers everything, and moves the clock until nothing is under way.
void RandomSequence::finish() {
    m_trace.append(u"finish"_s);
    m_world.answerAsUsual();
    m_world.docker().daemon = standin::Daemon::up;
    cancel();
    shutDown();
    m_world.page.letGo();
    m_world.releases.letGo();
    m_world.backups.letGo();
    m_world.units.letGo();
    m_world.dialogs.close();
    const auto isOver = [this] { return m_kuma->isIdle() && m_tasks.running() == 0; };
    for (int turn = 0; turn < mostTurns; ++turn) {
        settle();
        if (isOver()) {
            break;
        }
        m_world.clock.advance(std::max(m_world.clock.untilNextTimer(), 0ms));
    }
    settle();
    m_watch.checkState();
    if (m_kuma->state().busy || m_kuma->state().setupBusy || m_kuma->state().pulling || !m_world.underWay().isEmpty()) {
        m_watch.violate(u"something is under way though everything was answered"_s);
    }
    if (!isOver()) {
        qFatal("a sequence does not end:\n%s", qPrintable(m_trace.join(u'\n')));
    }
}

void RandomSequence::start() {
    requestOperation(&KumaController::start);
}

void RandomSequence::stop() {
    requestOperation(&KumaController::stop);
}

void RandomSequence::restart() {
    requestOperation(&KumaController::restart);
}

void RandomSequence::requestOperation(void (KumaController::*request)()) {
    const bool wasOperating = m_watch.isOperating();
    const std::optional<QString> before = m_kuma->state().busy;
    const int operations = m_watch.operations();
    (m_kuma->*request)();
    if (wasOperating && (m_watch.operations() != operations || m_kuma->state().busy != before)) {
        m_watch.violate(u"a second operation begins beside the first"_s);
    }
    if (!wasOperating && m_watch.operations() != operations + 1) {
        m_watch.violate(u"a request is dropped though nothing is under way"_s);
    }
    if (!wasOperating && m_kuma->state().busy && (m_kuma->state().error || m_kuma->state().suggestedPort)) {
        m_watch.violate(u"an operation begins with the error of the last"_s);
    }
}

void RandomSequence::cancel() {
    m_watch.willCancel();
    m_kuma->cancelOperation();
}

void RandomSequence::removeEverything() {
    m_kuma->removeEverything();
}

void RandomSequence::answerDialog() {
    if (!m_world.dialogs.questions.isEmpty()) {
        m_world.dialogs.questions.takeFirst().answer.complete(chance(60));
    }
}

void RandomSequence::choosePath() {
    if (!m_world.dialogs.pathQuestions.isEmpty()) {
        const std::optional<QString> path(u"/home/ann/Backup.zip"_s);
        m_world.dialogs.pathQuestions.takeFirst().answer.complete(chance(75) ? path : std::nullopt);
    }
}

void RandomSequence::checkForUpdates() {
    m_kuma->checkForUpdates();
}

void RandomSequence::updateNow() {
    m_kuma->updateNow();
}

void RandomSequence::goBack() {
    m_kuma->goBack();
}

void RandomSequence::backUpNow() {
    m_kuma->backUpNow();
}

void RandomSequence::restoreBackup() {
    m_kuma->restoreBackup();
}

void RandomSequence::switchDailyBackup() {
    m_kuma->setDailyBackup(chance(70));
    note(m_kuma->state().dailyBackup ? u"on"_s : u"off"_s);
}

/// The computer sleeps, or its clock is set.
void RandomSequence::changeDay() {
    if (chance(60)) {
        m_world.clock.sleep(std::chrono::hours(below(60)));
    } else {
        m_world.clock.setWallTime(m_world.clock.wallTime() + std::chrono::hours(below(2000) - 1000));
    }
}

void RandomSequence::installRuntime() {
    requestSetup(&KumaController::installAndStartRuntime);
}

void RandomSequence::startRuntime() {
    requestSetup(&KumaController::startRuntime);
}

void RandomSequence::installDocker() {
    requestSetup(&KumaController::installDocker);
}

void RandomSequence::joinGroup() {
    requestSetup(&KumaController::joinDockerGroup);
}

void RandomSequence::startService() {
    requestSetup(&KumaController::startDockerService);
}

void RandomSequence::requestSetup(void (KumaController::*request)()) {
    const bool wasSettingUp = m_watch.setup().isUnderWay() || m_kuma->state().setupBusy;
    const QString log = m_kuma->state().setupLog;
    const std::optional<OpError> error = m_kuma->state().error;
    m_watch.setup().willRequest();
    (m_kuma->*request)();
    m_watch.setup().didRequest();
    if (wasSettingUp && (m_kuma->state().setupLog != log || m_kuma->state().error != error)) {
        m_watch.violate(u"a second setup begins beside the first"_s);
    }
}

void RandomSequence::cancelSetup() {
    m_watch.setup().willCancel();
    m_kuma->cancelSetup();
}

void RandomSequence::recheck() {
    m_watch.willRecheck();
    m_kuma->recheck();
    m_watch.didRecheck();
}

void RandomSequence::fetchLogs() {
    m_tasks.start(readLogs(m_kuma), u"logs"_s);
}

void RandomSequence::begin() {
    m_watch.didBegin();
    m_kuma->begin();
}

void RandomSequence::shutDown() {
    m_watch.setup().willCancel();
    m_kuma->shutdownPolling();
    m_watch.didShutDown();
}

void RandomSequence::pause() {
    const milliseconds time(oneOf({0, below(50), below(500), below(3000), below(6000)}));
    note(QString::number(time.count()));
    m_world.clock.advance(time);
}

void RandomSequence::longPause() {
    const milliseconds time(oneOf({below(20000), below(40000), 30000, below(120000)}));
    note(QString::number(time.count()));
    m_world.clock.advance(time);
}

void RandomSequence::changeSlug() {
    m_kuma->setSlug(oneOf({u"home"_s, u" Home "_s, u"other"_s, QString(), u"  "_s, u"a/b"_s}));
    note(m_kuma->state().slug);
    m_watch.didChangeSlug();
}

void RandomSequence::changePort() {
    m_kuma->setPort(oneOf({3001, 3002, 4000}));
    m_watch.didChangeComposeSettings();
}

void RandomSequence::changeTag() {
    m_kuma->setImageTag(oneOf({u"2"_s, u"2.5"_s, u"beta"_s}));
    m_watch.didChangeComposeSettings();
}

void RandomSequence::changeOverride() {
    m_kuma->setDockerOverride(oneOf({QString(), u"/mine/docker"_s, u"/nowhere/docker"_s}));
    if (m_kuma->state().dockerPath || m_kuma->state().composeAvailable) {
        m_watch.violate(u"a new override keeps what was known of the old tool"_s);
    }
}

} // namespace orvanel::test
