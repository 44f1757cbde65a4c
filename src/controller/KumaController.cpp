#include "controller/KumaController.h"

#include "controller/ComposeFile.h"
#include "controller/StatusLine.h"

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr int defaultPort = 3001;

QString portKey() {
    return u"port"_s;
}
QString slugKey() {
    return u"slug"_s;
}
QString stopOnQuitKey() {
    return u"stopOnQuit"_s;
}
QString dockerOverrideKey() {
    return u"dockerOverride"_s;
}
QString imageTagKey() {
    return u"imageTag"_s;
}
QString hasSeenGuideKey() {
    return u"hasSeenGuide"_s;
}

int validPort(int port) {
    return port >= 1024 && port <= 65535 ? port : defaultPort;
}

} // namespace

KumaController::KumaController(ControllerEnvironment environment)
    : m_env(std::move(environment)) {
    const SettingsStore& defaults = *m_env.defaults;
    m_state.set(&ControllerState::port, validPort(defaults.integer(portKey(), 0)));
    m_state.set(&ControllerState::slug, defaults.text(slugKey(), {}));
    m_state.set(&ControllerState::stopOnQuit, defaults.boolean(stopOnQuitKey(), false));
    m_state.set(&ControllerState::dockerOverride, defaults.text(dockerOverrideKey(), {}));
    m_state.set(&ControllerState::imageTag, defaults.text(imageTagKey(), u"2"_s));
    m_state.set(&ControllerState::hasSeenGuide, defaults.boolean(hasSeenGuideKey(), false));
}

KumaController::~KumaController() {
    Q_ASSERT(m_tasks.running() == 0);
}

QCoro::Task<CommandResult> KumaController::command(QString path, QStringList arguments,
                                                   std::chrono::seconds limit) const {
    return m_env.run(path, arguments, limit, nullptr, nullptr);
}

QCoro::Task<void> KumaController::finished() {
    co_await m_tasks.finished();
    co_await m_backups.finished();
}

bool KumaController::setPort(int port) {
    m_state.set(&ControllerState::port, port);
    return saved(m_env.defaults->setInteger(portKey(), port));
}

bool KumaController::setSlug(const QString& slug) {
    m_state.set(&ControllerState::slug, slug);
    const bool isSaved = saved(m_env.defaults->setText(slugKey(), slug));
    forgetBaseline();
    m_state.set(&ControllerState::monitors, QList<MonitorRow>());
    m_state.set(&ControllerState::statusError, std::nullopt);
    m_lastStatusFetch = std::nullopt;
    return isSaved;
}

bool KumaController::setStopOnQuit(bool stop) {
    m_state.set(&ControllerState::stopOnQuit, stop);
    return saved(m_env.defaults->setBoolean(stopOnQuitKey(), stop));
}

bool KumaController::setDockerOverride(const QString& path) {
    m_state.set(&ControllerState::dockerOverride, path);
    const bool isSaved = saved(m_env.defaults->setText(dockerOverrideKey(), path));
    m_state.set(&ControllerState::dockerPath, std::nullopt);
    m_state.set(&ControllerState::composeAvailable, std::nullopt);
    return isSaved;
}

bool KumaController::setImageTag(const QString& tag) {
    m_state.set(&ControllerState::imageTag, tag);
    return saved(m_env.defaults->setText(imageTagKey(), tag));
}

void KumaController::setHasSeenGuide(bool seen) {
    m_state.set(&ControllerState::hasSeenGuide, seen);
    saved(m_env.defaults->setBoolean(hasSeenGuideKey(), seen));
}

/// A setting that could not be stored holds until the program ends; the user should know before that.
bool KumaController::saved(bool success) {
    if (!success) {
        replaceError(
            {u"The settings could not be saved."_s, u"%1 could not be written."_s.arg(m_env.defaults->file())});
    }
    return success;
}

void KumaController::setDockerState(DockerState state, const QString& details) {
    m_state.set(&ControllerState::runtimeDetails, details);
    m_state.set(&ControllerState::dockerState, state);
}

bool KumaController::launchAtLogin() const {
    return m_env.loginItem->isEnabled();
}

void KumaController::setLaunchAtLogin(bool launch) {
    const std::optional<QString> failure = m_env.loginItem->setEnabled(launch);
    if (failure) {
        replaceError({u"Could not change launch at login."_s, *failure});
    }
    // Told in any case, so that a switch shows the true status again.
    Q_EMIT changed();
}

Health KumaController::health() const {
    return healthOf(m_state->dockerState, m_state->kuma, m_state->monitors);
}

QString KumaController::statusLine() const {
    return statusLineOf(m_state->busy, m_state->dockerState, m_state->kuma, m_state->monitors);
}

QString KumaController::dataDir() const {
    return m_env.applicationSupport + u"/Orvanel/data"_s;
}

QString KumaController::backupsDir() const {
    return m_env.applicationSupport + u"/Orvanel/Backups"_s;
}

QString KumaController::composeURL() const {
    return m_env.applicationSupport + u"/Orvanel/docker-compose.yml"_s;
}

QUrl KumaController::dashboardURL() const {
    return QUrl(u"http://127.0.0.1:%1/"_s.arg(m_state->port));
}

QString KumaController::imageReference() const {
    return u"%1:%2"_s.arg(imageRepository(), m_state->imageTag);
}

} // namespace orvanel
