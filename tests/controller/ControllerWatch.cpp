#include "ControllerWatch.h"

#include "CommandOrder.h"
#include "controller/ComposeFile.h"

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

/// Part of a look at a container whose page does not answer as usual.
const auto endOfLog = u"end of the log"_s;
const auto goingBack = u"Going back"_s;

QString normalised(const QString& slug) {
    return slug.trimmed().toLower();
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

} // namespace orvanel::test
