#include "controller/Updater.h"

#include "controller/DataTurns.h"
#include "controller/ImageTag.h"
#include "platform/ShortText.h"

#include <QDebug>
#include <QFileInfo>
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
        .informativeText =
            u"Your data is backed up first and never deleted. A major version change may need Uptime Kuma's "
            "own migration, so read the release notes."_s,
        .confirmButton = u"Update"_s,
        .cancelButton = u"Cancel"_s,
    };
}

std::optional<QUrl> parsedAddress(const QString& text) {
    const QUrl address(text, QUrl::StrictMode);
    return address.isValid() ? std::optional(address) : std::nullopt;
}

} // namespace

Updater::Updater(const ContainerContext& context, UserSettings& settings, Operations& operations,
                 ContainerOperations& containerOperations, const DataTurns& dataTurns, Dialogs& dialogs,
                 FetchRelease fetchRelease, TaskScope& tasks)
    : m_context(context)
    , m_settings(settings)
    , m_operations(operations)
    , m_containerOperations(containerOperations)
    , m_dataTurns(dataTurns)
    , m_dialogs(dialogs)
    , m_fetchRelease(std::move(fetchRelease))
    , m_tasks(tasks) {}

void Updater::checkForUpdates() {
    if (m_context.state->checkingUpdate) {
        return;
    }
    m_context.state.update([](ControllerState& state) {
        state.checkingUpdate = true;
        state.updateMessage = std::nullopt;
    });
    m_tasks.start(performCheck(), u"update check"_s);
}

QCoro::Task<void> Updater::performCheck() {
    StateStore& state = m_context.state;
    const auto ended = qScopeGuard([&state] { state.set(&ControllerState::checkingUpdate, false); });
    const ReleaseResult result = co_await m_fetchRelease();
    if (const auto* failure = std::get_if<ReleaseError>(&result)) {
        state.set(&ControllerState::updateMessage, failure->message);
        co_return;
    }
    const auto& release = std::get<LatestRelease>(result);
    state.update([&release](ControllerState& next) {
        next.latestVersion = release.version;
        if (release.page) {
            next.releaseURL = parsedAddress(*release.page);
        }
        next.updateMessage = std::nullopt;
    });
}

void Updater::updateNow() {
    if (m_context.state->latestVersion) {
        m_tasks.start(askForUpdate(*m_context.state->latestVersion), u"question about an update"_s);
    }
}

QCoro::Task<void> Updater::askForUpdate(QString version) {
    const Alert question = updateQuestion(version);
    const bool confirmed = co_await m_dialogs.confirm(question);
    if (confirmed) {
        m_operations.run(u"Updating…"_s,
                         [this, version](std::stop_token stop) { return performUpdate(version, stop); });
    }
}

QCoro::Task<Outcome> Updater::performUpdate(QString version, std::stop_token stop) {
    const std::optional<Container> known = knownContainer(m_context);
    if (!known) {
        co_return std::nullopt;
    }
    const Container& container = *known;
    if (!isValidImageTag(version)) {
        co_return failed(u"The new version's name cannot be an image tag, so nothing was changed."_s,
                         u"The newest release is called \"%1\"."_s.arg(version));
    }
    const bool isAllowed = co_await m_containerOperations.conversions().mayStop();
    if (!isAllowed) {
        co_return std::nullopt;
    }
    const SafetyCopy copy = co_await backUpFirst();
    if (copy.failure) {
        co_return copy.failure;
    }
    if (m_context.bringUp.isForbidden()) {
        const CommandResult notDownloaded{.cancelled = true};
        co_return failed(notDownloaded);
    }
    if (const Outcome notPinned = pinTag(version)) {
        co_return notPinned;
    }
    // Whatever else may come in the way of the download.
    const auto ended = qScopeGuard([this] { takeBackTag(); });
    const CommandResult pull = co_await m_containerOperations.pullImage(container, stop);
    if (!pull.isSuccess()) {
        const bool isStored = takeBackTag();
        const Failure notPulled = m_containerOperations.failure(pull);
        co_return isStored ? notPulled : withUnstoredTag(notPulled);
    }
    // It may have begun meanwhile; to one that was under way before, the user has agreed.
    if (!m_context.state->conversion) {
        const bool isStillAllowed = co_await m_containerOperations.conversions().mayStop();
        if (!isStillAllowed) {
            const bool isStored = takeBackTag();
            const Failure notUpdated = failed(u"Cancelled."_s, u"Uptime Kuma was not updated."_s);
            co_return isStored ? notUpdated : withUnstoredTag(notUpdated);
        }
    }
    if (copy.wayBack) {
        m_settings.setSafetyCopy(*copy.wayBack);
    }
    m_tagChange.reset();
    m_settings.forgetTagToTakeBack();
    m_operations.show(u"Restarting with the new version…"_s);
    const std::optional<QString> existing = co_await container.state();
    const CommandResult up = co_await container.bringUp(existing, Container::WhenRunning::replace);
    if (!up.isSuccess()) {
        co_return m_containerOperations.failure(up);
    }
    co_return copy.warning;
}

/// Without data there is nothing to back up.
QCoro::Task<Updater::SafetyCopy> Updater::backUpFirst() {
    const DataTurns::Turn turn = co_await m_dataTurns.take();
    std::optional<BackupResult> backup;
    SafetyCopy copy;
    try {
        const QString label = u"before-update"_s;
        backup = co_await m_context.host.autoBackup(m_context.files.dataDir(), m_context.files.backupsDir(), label);
    } catch (const std::exception& thrown) {
        copy.failure =
            failed(u"The backup before the update failed, so nothing was changed."_s, QString::fromUtf8(thrown.what()));
        co_return copy;
    }
    const QString details = u"%1\n\nThe backup is\n%2"_s;
    // The new version may migrate the data at once: what it changes, only a good backup can bring back.
    if (backup && backup->databaseProblem) {
        copy.failure = failed(u"The backup before the update did not pass a check, so nothing was changed."_s,
                              details.arg(*backup->databaseProblem, backup->path));
    } else if (backup && backup->databaseNotChecked) {
        copy.warning = failed(u"The update was made, but the backup before it could not be checked."_s,
                              details.arg(*backup->databaseNotChecked, backup->path));
    }
    if (backup && !copy.failure) {
        copy.wayBack = co_await wayBackBy(backup->path);
    }
    co_return copy;
}

/// By a copy of data in the middle of a conversion there is none. One that cannot be read is no way back either.
QCoro::Task<std::optional<SafetyCopyNote>> Updater::wayBackBy(QString copy) const {
    const DataVersion version = co_await m_context.host.dataVersion(copy);
    if (version == DataVersion::converting) {
        co_return std::nullopt;
    }
    SafetyCopyNote note{.tag = m_context.state->imageTag, .folder = QFileInfo(copy).fileName(), .fingerprint = {}};
    try {
        note.fingerprint = co_await m_context.host.fingerprint(copy);
    } catch (const std::exception& thrown) {
        qWarning() << "The copy made before the update could not be read again:" << thrown.what();
        co_return std::nullopt;
    }
    co_return note;
}

/// A failure when the settings or the compose file cannot name the new version.
Outcome Updater::pinTag(const QString& newTag) {
    const TagChange change{.from = m_context.state->imageTag, .to = newTag};
    if (!m_settings.setTagToTakeBack(change.from) || !m_settings.setImageTag(newTag)) {
        if (m_settings.setImageTag(change.from)) {
            m_settings.forgetTagToTakeBack();
        }
        return Failure{.error = m_settings.notSaved()};
    }
    m_tagChange = change;
    const Outcome notWritten = prepareFiles();
    if (!notWritten) {
        return std::nullopt;
    }
    const bool isStored = takeBackTag();
    return isStored ? notWritten : withUnstoredTag(*notWritten);
}

Outcome Updater::prepareFiles() const {
    const std::optional<QString> reason = Container::prepareFiles(m_context);
    return reason ? Outcome(failed(u"Could not write the compose file."_s, *reason)) : std::nullopt;
}

bool Updater::takeBackTag() {
    if (!m_tagChange) {
        return true;
    }
    const TagChange change = *std::exchange(m_tagChange, std::nullopt);
    const bool isStored = m_context.state->imageTag != change.to || m_settings.setImageTag(change.from);
    // Otherwise the next start takes it back.
    if (isStored) {
        m_settings.forgetTagToTakeBack();
    }
    prepareFiles();
    return isStored;
}

/// The next start may take the new version: the user should know that beside why the update failed.
Failure Updater::withUnstoredTag(Failure failure) const {
    if (!failure.error.details.isEmpty()) {
        failure.error.details += u"\n\n"_s;
    }
    failure.error.details += u"The old version's tag \"%1\" could not be stored: %2 could not be written."_s.arg(
        m_context.state->imageTag, m_settings.file());
    return failure;
}

} // namespace orvanel
