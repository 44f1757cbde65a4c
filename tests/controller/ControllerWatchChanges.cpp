#include "ControllerWatch.h"

#include "CommandOrder.h"
#include "controller/ComposeFile.h"

#include <QFile>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

const auto downloading = u"Downloading the Uptime Kuma image"_s;
const auto goingBack = u"Going back"_s;
const auto backingUp = u"Backing up…"_s;

bool isPortError(const std::optional<OpError>& error) {
    return error && error->message.contains(u"ort"_s) &&
           error->message.endsWith(u"already in use by another program."_s);
}

} // namespace

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
