#include "ControllerWatch.h"

#include "CommandOrder.h"
#include "controller/ComposeFile.h"

#include <QFile>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

const auto downloading = u"Downloading the Uptime Kuma image"_s;
/// Part of a look at a container whose page does not answer as usual.
const auto endOfLog = u"end of the log"_s;
const auto goingBack = u"Going back"_s;
const auto backingUp = u"Backing up…"_s;

QString normalised(const QString& slug) {
    return slug.trimmed().toLower();
}

bool isPortError(const std::optional<OpError>& error) {
    return error && error->message.contains(u"ort"_s) &&
           error->message.endsWith(u"already in use by another program."_s);
}

} // namespace

ControllerWatch::ControllerWatch(ControllerFixture* world)
    : m_world(world)
    , m_run(world->runner) {
    world->runner = [this](QString path, QStringList arguments, std::chrono::duration<double> limit,
                           std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput) {
        return run(std::move(path), std::move(arguments), limit, std::move(handle), std::move(onOutput));
    };
    world->adjust = [this](ControllerEnvironment& environment, HostFunctions&) {
        environment.pageAnswers = [this](int port) { return pageAnswers(port); };
        environment.fetchStatusPage = [this](int port, QString slug) { return fetch(port, std::move(slug)); };
    };
    world->backups.onBegin = [this](const ScriptedBackups::Job& job) { jobBegins(job); };
}

void ControllerWatch::attach() {
    connect(&m_world->controller(), &KumaController::changed, this, &ControllerWatch::changed);
    didChangeComposeSettings();
}

void ControllerWatch::violate(const QString& rule) {
    if (m_violation.isEmpty()) {
        m_violation = rule;
    }
}

void ControllerWatch::willRecheck() {
    m_rechecks += 1;
}

/// The program may end at this moment, so the stored settings must not name a version that was not downloaded.
void ControllerWatch::didShutDown() {
    m_isLoopWanted = false;
    m_isLeaving = true;
    const KumaController& kuma = m_world->controller();
    if (kuma.state().pulling && m_label.startsWith(u"Updating"_s) && !m_tags.isEmpty()) {
        checkUpdated();
        if (kuma.state().imageTag != m_tags.first()) {
            violate(u"the program ends with a version pinned that it has not got"_s);
        }
    }
    const SettingsStore stored(m_world->settingsFile);
    if (stored.text(u"imageTag"_s, kuma.state().imageTag) != kuma.state().imageTag) {
        violate(u"the program ends with another tag stored than it shows"_s);
    }
}

void ControllerWatch::didRecheck() {
    const KumaController& kuma = m_world->controller();
    if (kuma.state().dockerState != DockerState::unknown || kuma.state().dockerPath) {
        violate(u"a recheck does not show that nothing is known"_s);
    }
}

/// What an operation may still do after a cancel depends on the command under way: once the container is being brought
/// up, it is too late to cancel.
void ControllerWatch::willCancel() {
    const bool isBringingUp =
        bringsUp(m_underWay) || m_underWay == u"rm" || (m_underWay == u"compose version" && m_isImagePresent);
    // A paused container is unpaused first, and one in the way of compose is looked at between its two attempts.
    const bool isTryingAgain =
        m_underWay == u"unpause" || (m_underWay == u"inspect" && (m_operationCommands.contains(u"compose up"_s) ||
                                                                  m_operationCommands.contains(u"unpause"_s)));
    const bool isUpdated = m_label.startsWith(u"Updating"_s) && m_isImagePresent;
    m_isCancelled = m_isCancelled || (m_isOperating && !isBringingUp && !isTryingAgain && !isUpdated);
    m_mustEnd = m_mustEnd || m_underWay == u"info";
}

void ControllerWatch::didChangeComposeSettings() {
    const KumaController& kuma = m_world->controller();
    m_composeTexts.insert(composeText(kuma.state().imageTag, kuma.state().port).toUtf8());
    m_tags.clear();
}

void ControllerWatch::didChangeSlug() {
    m_readings.forget();
    if (!m_world->controller().state().monitors.isEmpty() || m_world->controller().state().statusError) {
        violate(u"a new slug shows what the old one brought"_s);
    }
}

QCoro::Task<CommandResult> ControllerWatch::run(QString path, QStringList arguments,
                                                std::chrono::duration<double> limit,
                                                std::shared_ptr<ProcessHandle> handle,
                                                DockerCLI::OutputCallback onOutput) {
    const QString name = Command{.path = path, .arguments = arguments}.name();
    if (m_setup.owns(name)) {
        const CommandResult result = co_await runSetup(path, arguments, limit, handle, onOutput);
        co_return result;
    }
    const bool isOperation = m_isOperating && name != u"logs";
    const int operations = m_operations;
    m_seen.insert(name);
    if (isOperation) {
        operationCommandBegins(name, handle && handle->isCancelled());
    } else if (name != u"logs") {
        lookBegins(name);
    }
    const CommandResult result = co_await m_run(path, arguments, limit, handle, onOutput);
    if (isOperation) {
        operationCommandEnds(name, result);
        m_cause = {Cause::Kind::operation, operations};
    } else if (name == u"inspect" || name == endOfLog) {
        m_cause = {Cause::Kind::look, operations};
    } else {
        m_cause = {};
    }
    co_return result;
}

/// When a runtime has answered the setup, the setup itself publishes that and looks at the container.
QCoro::Task<CommandResult> ControllerWatch::runSetup(QString path, QStringList arguments,
                                                     std::chrono::duration<double> limit,
                                                     std::shared_ptr<ProcessHandle> handle,
                                                     DockerCLI::OutputCallback onOutput) {
    const QString name = Command{.path = path, .arguments = arguments}.name();
    m_seen.insert(name);
    const QString broken = m_setup.commandBegins(name, handle && handle->isCancelled());
    if (!broken.isEmpty()) {
        violate(broken);
    }
    const CommandResult result = co_await m_run(path, arguments, limit, handle, onOutput);
    m_setup.commandEnds(result);
    m_cause = {};
    if (result.isSuccess() && (name == u"info" || name == u"ps")) {
        m_cause = {Cause::Kind::setup, m_operations, path};
    }
    // Whatever it was answered: a service that refuses its user is up.
    if (name == u"info" || name == u"ps") {
        m_mayLook = true;
    }
    co_return result;
}

void ControllerWatch::jobBegins(const ScriptedBackups::Job& job) {
    m_seen.insert(job.kind);
    if (m_world->backups.underWay > 1) {
        violate(u"%1 begins beside another job on the data"_s.arg(job.kind));
    }
    if (job.kind == u"daily copy" || job.kind == u"prune") {
        dailyJobBegins(job);
        return;
    }
    const bool isRestore = job.kind == u"restore";
    const bool isInItsOperation =
        m_label.startsWith(isRestore ? u"Restoring"_s : u"Updating"_s) || (isRestore && m_label.startsWith(goingBack));
    if (job.kind != u"back up" && !(m_isOperating && isInItsOperation && m_underWay.isEmpty())) {
        violate(u"%1 begins outside its operation"_s.arg(job.kind));
    }
}

/// None begins during an operation or a backup. One that is under way prunes beside a backup that waits for it.
void ControllerWatch::dailyJobBegins(const ScriptedBackups::Job& job) {
    const ControllerState& state = m_world->controller().state();
    const bool isBusy = m_isOperating || (state.busy && job.kind == u"daily copy");
    if (isBusy) {
        violate(u"a %1 begins during %2"_s.arg(job.kind, state.busy.value_or(m_label)));
    }
    if (job.kind == u"daily copy" && (!state.dailyBackup || state.dockerState != DockerState::ready || m_isLeaving)) {
        violate(u"a daily copy begins that is not wanted now"_s);
    }
}

void ControllerWatch::operationCommandBegins(const QString& name, bool isCancelled) {
    if (!m_underWay.isEmpty()) {
        violate(u"%1 begins while %2 is under way"_s.arg(name, m_underWay));
    }
    if (name.startsWith(u"compose "_s) && name != u"compose version") {
        checkComposeFile();
    }
    m_underWay = name;
    m_operationCommands.append(name);
    if (!mayOperationRun(m_label, m_operationCommands)) {
        violate(u"%1 runs %2"_s.arg(m_label, m_operationCommands.join(u", "_s)));
    }
    if (m_mustEnd) {
        violate(u"%1 begins though the operation was cancelled at its start"_s.arg(name));
    }
    if (m_isLeaving && (bringsUp(name) || (isPull(name) && !isCancelled))) {
        violate(u"%1 begins though the program ends"_s.arg(name));
    }
    // Until the data is replaced, a cancel leaves the server running if it ran.
    const bool mayStartAgain = (m_label.startsWith(u"Restoring"_s) || m_label.startsWith(goingBack)) &&
                               m_world->backups.dataFolders == m_dataFolders;
    if (m_isCancelled && !mayStartAgain && (bringsUp(name) || (isPull(name) && !isCancelled))) {
        violate(u"%1 begins after the operation was cancelled"_s.arg(name));
    }
    if (bringsUp(name) && !m_isImagePresent) {
        violate(u"%1 begins without the image"_s.arg(name));
    }
    if (isPull(name) && (m_isImagePresent || !m_world->controller().state().pulling)) {
        violate(u"a download begins that nobody needs or sees"_s);
    }
}

void ControllerWatch::operationCommandEnds(const QString& name, const CommandResult& result) {
    m_underWay.clear();
    if (name == u"image inspect" || isPull(name)) {
        m_isImagePresent = result.isSuccess();
    }
    if (!m_world->controller().state().busy) {
        violate(u"the operation of %1 ended before it"_s.arg(name));
    }
}

/// A look at the container must come from the poll loop, a recheck, or the end of an operation or a setup.
void ControllerWatch::lookBegins(const QString& name) {
    if (name == u"inspect") {
        if (std::exchange(m_mayLook, false) || m_isLoopWanted) {
            return;
        }
        if (m_rechecks > 0) {
            m_rechecks -= 1;
            return;
        }
        violate(u"a look begins though polling was shut down"_s);
    } else if (name != u"compose version" && name != endOfLog) {
        violate(u"%1 begins outside any operation"_s.arg(name));
    }
}

QCoro::Task<PageAnswer> ControllerWatch::pageAnswers(int port) {
    const int operations = m_operations;
    const PageAnswer answers = co_await m_world->page.pageAnswers(port);
    m_cause = {Cause::Kind::look, operations};
    co_return answers;
}

QCoro::Task<StatusPageResult> ControllerWatch::fetch(int port, QString slug) {
    readBegins(slug);
    const StatusPageResult result = co_await m_world->page.fetch(port, slug);
    m_cause = {};
    if (normalised(m_world->controller().state().slug) == slug) {
        m_readings.ends(result);
        if (!m_readings.expectedNews().isEmpty()) {
            m_seen.insert(u"news"_s);
        }
    }
    co_return result;
}

void ControllerWatch::readBegins(const QString& slug) {
    const KumaController& kuma = m_world->controller();
    if (!m_readings.mayBegin(m_world->clock.now())) {
        violate(u"the status page is read twice within 30 s"_s);
    }
    if (kuma.state().kuma != KumaState::running || kuma.state().busy || !m_isLoopWanted) {
        violate(u"the status page is read at the wrong time"_s);
    }
    if (slug.isEmpty() || slug != normalised(kuma.state().slug)) {
        violate(u"the status page \"%1\" is read"_s.arg(slug));
    }
}

ControllerWatch::Snapshot ControllerWatch::snapshot() const {
    const KumaController& kuma = m_world->controller();
    return {kuma.state().dockerState, kuma.state().kuma, kuma.state().busy, kuma.state().pulling,
            kuma.state().setupBusy.has_value()};
}

void ControllerWatch::changed() {
    const Snapshot now = snapshot();
    m_composeTexts.insert(
        composeText(m_world->controller().state().imageTag, m_world->controller().state().port).toUtf8());
    if (now.busy && now.busy != backingUp && !m_isOperating) {
        operationBegins(*now.busy);
    } else if (!now.busy && m_isOperating) {
        operationEnds();
    }
    if (m_before.isSettingUp && !now.isSettingUp) {
        m_setup.stepsEnded();
    }
    if (now.busy) {
        checkChangeDuringOperation(now);
    } else {
        checkChangeWhileIdle(now);
    }
    m_hasPortError = m_hasPortError || isPortError(m_world->controller().state().error);
    m_before = now;
    remember(now);
}

void ControllerWatch::operationBegins(const QString& label) {
    m_operations += 1;
    m_isOperating = true;
    m_label = label;
    const KumaController& kuma = m_world->controller();
    m_tags = {kuma.state().imageTag, kuma.state().latestVersion.value_or(QString())};
    m_operationCommands.clear();
    m_dataFolders = m_world->backups.dataFolders;
    m_wayBackTag = kuma.state().wayBackTag;
    m_isImagePresent = false;
    m_isCancelled = false;
    m_mustEnd = false;
    m_hasPortError = false;
    m_cause = {};
}

void ControllerWatch::operationEnds() {
    m_isOperating = false;
    m_mayLook = true;
    m_cause = {};
    const bool hasPinned = std::any_of(m_operationCommands.begin(), m_operationCommands.end(), isPull);
    if (m_label.startsWith(u"Updating"_s) && hasPinned) {
        checkUpdated();
    }
    if (m_label.startsWith(goingBack)) {
        checkWentBack();
    }
    if (!m_underWay.isEmpty()) {
        violate(u"busy ends while %1 is under way"_s.arg(m_underWay));
    }
}

/// Only the operation itself may now change the state of Docker, and nothing may change the state of the container.
void ControllerWatch::checkChangeDuringOperation(const Snapshot& now) {
    if (now.kuma != m_before.kuma) {
        violate(u"the container's state changes during an operation"_s);
    }
    const bool isFromInfo = m_cause.kind == Cause::Kind::operation && !m_operationCommands.isEmpty() &&
                            m_operationCommands.last() == u"info";
    if (now.dockerState != m_before.dockerState && now.dockerState != DockerState::missing && !isFromInfo &&
        !isFromSetup(now) && now.dockerState != DockerState::unknown) {
        violate(u"something else changes the state of Docker during an operation"_s);
    }
    if (now.pulling && !m_before.pulling && now.busy != downloading) {
        violate(u"a download is under way that busy does not tell of"_s);
    }
}

/// Only answers to questions that were asked after the last operation began may count.
void ControllerWatch::checkChangeWhileIdle(const Snapshot& now) {
    const bool isFresh = m_cause.kind == Cause::Kind::look && m_cause.operations == m_operations;
    const bool isToolMissing = !m_world->controller().state().dockerPath;
    if (now.kuma != m_before.kuma && !isFresh && !(isToolMissing && now.kuma == KumaState::stopped)) {
        violate(u"a late look changes the container's state"_s);
    }
    const bool isAboutTheTool = now.dockerState == DockerState::unknown || now.dockerState == DockerState::missing ||
                                m_before.dockerState == DockerState::unknown ||
                                m_before.dockerState == DockerState::missing;
    if (now.dockerState != m_before.dockerState && !isFresh && !isAboutTheTool && !isFromSetup(now)) {
        violate(u"a late look changes the state of Docker"_s);
    }
}

bool ControllerWatch::isFromSetup(const Snapshot& now) const {
    return m_cause.kind == Cause::Kind::setup && now.dockerState == DockerState::ready &&
           m_cause.docker == m_world->controller().state().dockerPath;
}

void ControllerWatch::checkState() {
    m_cause = {};
    m_mayLook = false;
    const KumaController& kuma = m_world->controller();
    if (!kuma.state().busy) {
        m_rechecks = 0;
    }
    if (kuma.state().pulling && kuma.state().busy != downloading && kuma.state().busy != backingUp) {
        violate(u"pulling is set outside a download"_s);
    }
    if (kuma.state().suggestedPort && !m_hasPortError) {
        violate(u"a port is suggested without its error"_s);
    }
    QList<MonitorNews> posted = m_world->notifier.posted;
    posted.removeIf([](const MonitorNews& news) { return news.title == u"Daily backup"; });
    if (posted != m_readings.expectedNews()) {
        violate(u"%1 notifications instead of %2"_s.arg(posted.size()).arg(m_readings.expectedNews().size()));
    }
    if (!kuma.state().monitors.isEmpty() && kuma.state().monitors != m_readings.lastRows()) {
        violate(u"other monitors are shown than were read"_s);
    }
}

void ControllerWatch::checkComposeFile() {
    QFile file(m_world->controller().composeURL());
    if (file.open(QIODevice::ReadOnly) && !m_composeTexts.contains(file.readAll())) {
        violate(u"the compose file tells of settings that were never set"_s);
    }
}

/// However an update ends, the settings and the compose file must name the same version, either the old or the new one.
void ControllerWatch::checkUpdated() {
    const KumaController& kuma = m_world->controller();
    if (m_tags.isEmpty()) {
        return;
    }
    if (!m_tags.contains(kuma.state().imageTag)) {
        violate(u"an update leaves the tag %1"_s.arg(kuma.state().imageTag));
    }
    QFile file(kuma.composeURL());
    if (!file.open(QIODevice::ReadOnly) ||
        file.readAll() != composeText(kuma.state().imageTag, kuma.state().port).toUtf8()) {
        violate(u"the compose file does not tell of the tag %1"_s.arg(kuma.state().imageTag));
    }
}

/// The older version is pinned exactly if its data is there.
void ControllerWatch::checkWentBack() {
    const ControllerState& state = m_world->controller().state();
    const bool hasOldData = m_world->backups.dataFolders != m_dataFolders;
    const bool isFitting =
        !hasOldData ? state.imageTag == m_tags.value(0) : !m_wayBackTag || state.imageTag == *m_wayBackTag;
    if (!m_tags.isEmpty() && !isFitting) {
        violate(u"going back ends with the tag %1 and the data of the other version"_s.arg(state.imageTag));
    }
    if (hasOldData) {
        m_seen.insert(u"went back"_s);
    }
}

void ControllerWatch::remember(const Snapshot& now) {
    static const QStringList kumaStates{u"stopped"_s, u"starting"_s, u"running"_s, u"failing"_s};
    static const QStringList dockerStates{u"unknown"_s, u"missing"_s, u"not running"_s, u"ready"_s};
    m_seen.insert(kumaStates.at(static_cast<int>(now.kuma)));
    m_seen.insert(dockerStates.at(static_cast<int>(now.dockerState)));
    if (const auto error = m_world->controller().state().error) {
        m_seen.insert(isPortError(error) ? u"a port error"_s : error->message);
    }
}

} // namespace orvanel::test
