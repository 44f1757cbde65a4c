#include "controller/ImageTag.h"
#include "controller/KumaController.h"
#include "platform/ShortText.h"

#include <QScopeGuard>

#include <exception>
#include <utility>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// A longer one is no tag, and ends the update with a sentence.
constexpr qsizetype longestTag = 128;

Alert updateQuestion(const QString& version) {
    return {
        .style = Alert::Style::Information,
        .message = u"Update Uptime Kuma to %1?"_s.arg(shortened(version, longestTag)),
        .informativeText = u"Your data is backed up first and never deleted. A major version change may "
                           "need Uptime Kuma's own migration, so read the release notes."_s,
        .confirmButton = u"Update"_s,
        .cancelButton = u"Cancel"_s,
    };
}

std::optional<QUrl> parsedAddress(const QString& text) {
    const QUrl address(text, QUrl::StrictMode);
    return address.isValid() ? std::optional(address) : std::nullopt;
}

} // namespace

void KumaController::checkForUpdates() {
    if (m_state->checkingUpdate) {
        return;
    }
    m_state.set(&ControllerState::checkingUpdate, true);
    m_state.set(&ControllerState::updateMessage, std::nullopt);
    m_tasks.start(performCheck(), u"update check"_s);
}

QCoro::Task<void> KumaController::performCheck() {
    const auto ended = qScopeGuard([this] { m_state.set(&ControllerState::checkingUpdate, false); });
    const ReleaseResult result = co_await m_env.fetchLatestRelease();
    if (const auto* failure = std::get_if<ReleaseError>(&result)) {
        m_state.set(&ControllerState::updateMessage, failure->message);
        co_return;
    }
    const auto& release = std::get<LatestRelease>(result);
    m_state.set(&ControllerState::latestVersion, release.version);
    if (release.page) {
        m_state.set(&ControllerState::releaseURL, parsedAddress(*release.page));
    }
    m_state.set(&ControllerState::updateMessage, std::nullopt);
}

bool KumaController::majorChange() const {
    return isMajorChange(m_state->imageTag, m_state->latestVersion);
}

void KumaController::updateNow() {
    if (m_state->latestVersion) {
        m_tasks.start(askForUpdate(*m_state->latestVersion), u"question about an update"_s);
    }
}

QCoro::Task<void> KumaController::askForUpdate(QString version) {
    const Alert question = updateQuestion(version);
    const bool confirmed = co_await m_env.dialogs->confirm(question);
    if (confirmed) {
        runOp(u"Updating…"_s, [this, version](std::stop_token stop) { return performUpdate(version, stop); });
    }
}

QCoro::Task<void> KumaController::performUpdate(QString version, std::stop_token stop) {
    if (!m_state->dockerPath) {
        co_return;
    }
    const QString docker = *m_state->dockerPath;
    if (!isValidImageTag(version)) {
        m_state.set(&ControllerState::error,
                    OpError{u"The new version's name cannot be an image tag, so nothing was changed."_s,
                            u"The newest release is called \"%1\"."_s.arg(version)});
        co_return;
    }
    const bool isBackedUp = co_await backUpBeforeUpdate();
    if (!isBackedUp) {
        co_return;
    }
    if (m_isLeaving) {
        const CommandResult notDownloaded{.cancelled = true};
        fail(notDownloaded);
        co_return;
    }
    if (!pinTag(version)) {
        co_return;
    }
    // Whatever else may come in the way of the download.
    const auto ended = qScopeGuard([this] { takeBackTag(); });
    const CommandResult pull = co_await pullImage(docker, stop);
    if (!pull.isSuccess()) {
        const bool isStored = takeBackTag();
        fail(pull);
        if (!isStored) {
            tellOfUnstoredTag();
        }
        co_return;
    }
    m_tagChange.reset();
    showOperation(u"Restarting with the new version…"_s);
    const std::optional<QString> existing = co_await containerState(docker);
    const CommandResult up = co_await bringUp(docker, existing, true);
    if (!up.isSuccess()) {
        fail(up);
    }
}

/// False when there is no good backup, with the reason published. Without data there is nothing to back up.
QCoro::Task<bool> KumaController::backUpBeforeUpdate() {
    const DataTurns::Turn turn = co_await m_dataTurns.take();
    std::optional<BackupResult> backup;
    try {
        const QString label = u"before-update"_s;
        backup = co_await m_env.autoBackup(dataDir(), backupsDir(), label);
    } catch (const std::exception& failure) {
        m_state.set(&ControllerState::error, OpError{u"The backup before the update failed, so nothing was changed."_s,
                                                     QString::fromUtf8(failure.what())});
        co_return false;
    }
    // The new version may migrate the data at once: what it changes, only a good backup can bring back.
    if (backup && backup->databaseProblem) {
        m_state.set(&ControllerState::error,
                    OpError{u"The backup before the update did not pass a check, so nothing was changed."_s,
                            u"%1\n\nThe backup is\n%2"_s.arg(*backup->databaseProblem, backup->path)});
        co_return false;
    }
    co_return true;
}

/// False when the settings or the compose file cannot name the new version, with the reason published.
bool KumaController::pinTag(const QString& newTag) {
    const TagChange change{.from = m_state->imageTag, .to = newTag};
    if (!setImageTag(newTag)) {
        setImageTag(change.from);
        return false;
    }
    m_tagChange = change;
    const std::optional<QString> failure = prepareFiles();
    if (!failure) {
        return true;
    }
    const bool isStored = takeBackTag();
    m_state.set(&ControllerState::error, OpError{u"Could not write the compose file."_s, *failure});
    if (!isStored) {
        tellOfUnstoredTag();
    }
    return false;
}

/// Pins the old version again while the new one is not downloaded, unless the user has chosen yet another tag
/// meanwhile. False when the old tag could not be stored.
bool KumaController::takeBackTag() {
    if (!m_tagChange) {
        return true;
    }
    const TagChange change = *std::exchange(m_tagChange, std::nullopt);
    const bool isStored = m_state->imageTag != change.to || setImageTag(change.from);
    prepareFiles();
    return isStored;
}

/// The program's next start will take the new version: the user should know that beside why the update failed.
void KumaController::tellOfUnstoredTag() {
    OpError error = m_state->error.value_or(OpError());
    if (!error.details.isEmpty()) {
        error.details += u"\n\n"_s;
    }
    error.details += u"The old version's tag \"%1\" could not be stored: %2 could not be written."_s.arg(
        m_state->imageTag, m_env.defaults->file());
    m_state.set(&ControllerState::error, error);
}

} // namespace orvanel
