#include "controller/KumaController.h"

#include "controller/BackupOperations.h"
#include "controller/ControllerEnvironment.h"
#include "controller/DailyBackups.h"
#include "controller/DockerInstaller.h"
#include "controller/ImageTag.h"
#include "controller/Poller.h"
#include "controller/RuntimeSetup.h"
#include "controller/Updater.h"
#include "controller/WayBack.h"

using namespace Qt::StringLiterals;

namespace orvanel {

/// Who does the work, in the order in which each needs the ones before.
struct KumaController::Parts {
    Parts(const ControllerEnvironment& env, std::function<void()> changed)
        : host(env.host ? env.host : std::make_shared<const HostFunctions>())
        , loginItem(*env.loginItem)
        , state(std::make_shared<StateStore>(std::move(changed)))
        , settings(*env.defaults, *state)
        , files(env.applicationSupport)
        , bringUp(*env.clock)
        , operations(std::make_shared<Operations>(*state, *env.clock, tasks, refresh))
        , conversions(context, *env.dialogs, env.pageAnswers)
        , containerOperations(context, *operations, conversions, dataTurns, *env.dialogs, tasks)
        , statusWatch(*state, *env.clock, *env.notifier, env.fetchStatusPage)
        , setup(context, *env.clock, refresh, tasks)
        , runtimeSetup(setup)
        , dockerInstaller(setup)
        , dockerService(setup, env.units)
        , poller(context, *operations, conversions, dockerService, statusWatch, *env.clock, tasks,
                 [this] { eachTime(); })
        , updater(context, settings, *operations, containerOperations, dataTurns, *env.dialogs, env.fetchLatestRelease,
                  tasks)
        , backups(context, operations, containerOperations, dataTurns, *env.dialogs, *env.desktop, *env.clock, tasks)
        , wayBack(context, settings, *operations, containerOperations, backups, *env.dialogs, tasks)
        , dailyBackups(context, settings, *operations, dataTurns, *env.clock, *env.notifier, tasks) {
        // Before anybody reads the tag.
        wayBack.settle();
    }

    void eachTime() {
        wayBack.look();
        dailyBackups.startWhenDue();
    }

    const std::shared_ptr<const HostFunctions> host;
    LoginItem& loginItem;
    TaskScope tasks;
    const std::shared_ptr<StateStore> state;
    UserSettings settings;
    const ContainerFiles files;
    BringUp bringUp;
    const ContainerContext context{*state, *host, files, bringUp};
    const DataTurns dataTurns;
    const Operations::Refresh refresh = [this](std::stop_token stop) { return poller.refresh(stop); };
    const std::shared_ptr<Operations> operations;
    const ConversionWatch conversions;
    ContainerOperations containerOperations;
    StatusWatch statusWatch;
    SetupFrame setup;
    RuntimeSetup runtimeSetup;
    DockerInstaller dockerInstaller;
    DockerService dockerService;
    Poller poller;
    Updater updater;
    BackupOperations backups;
    WayBack wayBack;
    DailyBackups dailyBackups;
};

KumaController::KumaController(const ControllerEnvironment& environment)
    : m_parts(std::make_unique<Parts>(environment, [this] { Q_EMIT changed(); })) {}

KumaController::~KumaController() {
    Q_ASSERT(m_parts->tasks.running() == 0);
}

const ControllerState& KumaController::state() const {
    return **m_parts->state;
}

bool KumaController::setPort(int port) {
    return m_parts->settings.setPort(port);
}

bool KumaController::setSlug(const QString& slug) {
    const bool isSaved = m_parts->settings.setSlug(slug);
    m_parts->statusWatch.forget();
    return isSaved;
}

bool KumaController::setStopOnQuit(bool stop) {
    return m_parts->settings.setStopOnQuit(stop);
}

bool KumaController::setDockerOverride(const QString& path) {
    return m_parts->settings.setDockerOverride(path);
}

bool KumaController::setImageTag(const QString& tag) {
    const bool isSaved = m_parts->settings.setImageTag(tag);
    m_parts->wayBack.look();
    return isSaved;
}

bool KumaController::setHasSeenGuide(bool seen) {
    return m_parts->settings.setHasSeenGuide(seen);
}

bool KumaController::setDailyBackup(bool enabled) {
    return m_parts->dailyBackups.setEnabled(enabled);
}

bool KumaController::launchAtLogin() const {
    return m_parts->loginItem.isEnabled();
}

void KumaController::setLaunchAtLogin(bool launch) {
    const std::optional<QString> failure = m_parts->loginItem.setEnabled(launch);
    if (failure) {
        replaceError(*m_parts->state, {u"Could not change launch at login."_s, *failure});
    }
    // Told in any case, so that a switch shows the true status again.
    Q_EMIT changed();
}

Health KumaController::health() const {
    return healthOf(state().dockerState, state().kuma, state().monitors);
}

QString KumaController::statusLine() const {
    return statusLineOf(state());
}

QString KumaController::dataDir() const {
    return m_parts->files.dataDir();
}

QString KumaController::backupsDir() const {
    return m_parts->files.backupsDir();
}

QString KumaController::composeURL() const {
    return m_parts->files.composeFile();
}

QUrl KumaController::dashboardURL() const {
    return QUrl(u"http://127.0.0.1:%1/"_s.arg(state().port));
}

QUrl KumaController::monitorURL(std::int64_t id) const {
    return dashboardURL().resolved(QUrl(u"dashboard/%1"_s.arg(id)));
}

QString KumaController::imageReference() const {
    return orvanel::imageReference(state().imageTag);
}

bool KumaController::majorChange() const {
    return isMajorChange(state().imageTag, state().latestVersion);
}

void KumaController::begin() {
    m_parts->bringUp.allow();
    m_parts->backups.allowWaiting();
    // What a restore left that ended with the last run: no look at the data is to find it missing.
    BackupManager::recover(dataDir(), backupsDir());
    if (const auto& cleanUp = m_parts->context.host.cleanUp) {
        m_parts->tasks.start(cleanUp(dataDir(), backupsDir()), u"clean-up after an earlier run"_s);
    }
    m_parts->dailyBackups.begin();
    m_parts->poller.begin();
}

void KumaController::recheck() {
    m_parts->poller.recheck();
}

void KumaController::start() {
    m_parts->containerOperations.start();
}

void KumaController::stop() {
    m_parts->containerOperations.stop();
}

void KumaController::restart() {
    m_parts->containerOperations.restart();
}

void KumaController::cancelOperation() {
    m_parts->operations->cancel();
}

void KumaController::dismissError() {
    m_parts->state->update([](ControllerState& state) {
        state.error = std::nullopt;
        state.suggestedPort = std::nullopt;
    });
}

void KumaController::removeEverything() {
    m_parts->containerOperations.removeEverything();
}

QCoro::Task<QString> KumaController::fetchLogs() {
    const std::optional<Container> known = knownContainer(m_parts->context);
    if (!known) {
        co_return u"Docker was not found."_s;
    }
    const Container& container = *known;
    const CommandResult result = co_await container.logs();
    if (result.status != 0 && result.output.isEmpty()) {
        co_return u"No logs. The container may not exist yet."_s;
    }
    co_return result.output;
}

void KumaController::installAndStartRuntime() {
    m_parts->runtimeSetup.installAndStart();
}

void KumaController::startRuntime() {
    m_parts->runtimeSetup.start();
}

void KumaController::installDocker() {
    m_parts->dockerInstaller.install();
}

void KumaController::joinDockerGroup() {
    m_parts->dockerInstaller.join();
}

void KumaController::startDockerService() {
    m_parts->dockerService.start();
}

void KumaController::cancelSetup() {
    m_parts->setup.cancel();
}

void KumaController::checkForUpdates() {
    m_parts->updater.checkForUpdates();
}

void KumaController::updateNow() {
    m_parts->updater.updateNow();
}

void KumaController::goBack() {
    m_parts->wayBack.goBack();
}

void KumaController::backUpNow() {
    m_parts->backups.backUpNow();
}

void KumaController::restoreBackup() {
    m_parts->backups.restoreBackup();
}

void KumaController::revealDataFolder() {
    m_parts->backups.revealDataFolder();
}

std::optional<QString> KumaController::prepareFiles() {
    return Container::prepareFiles(m_parts->context);
}

void KumaController::shutdownPolling() {
    m_parts->bringUp.forbid();
    m_parts->poller.end();
    m_parts->setup.cancel();
    m_parts->operations->cancelChild();
    m_parts->backups.stopWaiting();
    // The program may end before the operation notices that its download was cancelled.
    m_parts->updater.takeBackTag();
}

bool KumaController::mayBeComingUp() const {
    return m_parts->bringUp.mayBeComingUp();
}

QCoro::Task<void> KumaController::runStop() {
    const std::optional<Container> known = knownContainer(m_parts->context);
    if (!known) {
        co_return;
    }
    const Container& container = *known;
    co_await m_parts->bringUp.end();
    const std::optional<Conversion> conversion = co_await m_parts->conversions.conversionNow();
    if (!conversion) {
        co_await container.stop();
    }
}

QCoro::Task<void> KumaController::finished() {
    co_await m_parts->tasks.finished();
    co_await m_parts->backups.finished();
}

bool KumaController::isIdle() const {
    return m_parts->tasks.running() == 0 && m_parts->backups.backups().running() == 0;
}

} // namespace orvanel
