#include "controller/BackupOperations.h"

#include "controller/ImageTag.h"
#include "process/AppError.h"

#include <QDir>
#include <QScopeGuard>

#include <exception>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

SavePanel backupPanel(const QString& timestamp) {
    return {
        .title = u"Back up Uptime Kuma data"_s,
        .message =
            u"A name ending in .zip makes a zip file; otherwise a folder is created. Uptime Kuma keeps running."_s,
        .proposedName = u"Uptime Kuma backup %1.zip"_s.arg(timestamp),
    };
}

OpenPanel restorePanel() {
    return {
        .title = u"Choose a backup to restore"_s,
        .message = u"Choose a backup folder or a .zip file made by Back up now."_s,
        .filesAllowed = true,
        .foldersAllowed = true,
    };
}

/// `tag`: of the version that converts the data of the backup first; none when it need not.
Alert restoreQuestion(const QString& dataDir, const std::optional<QString>& tag) {
    const QString conversion =
        u"\n\nThis backup is from an older version. Uptime Kuma %1 first converts its data, for minutes or hours, and "
        "must not be stopped meanwhile. The backup itself stays as it is, so there is a way back."_s;
    return {
        .style = Alert::Style::Warning,
        .message = u"Restore this backup?"_s,
        .informativeText =
            u"Uptime Kuma will be stopped and the data in\n%1\nwill be replaced by the backup. The current "
            "data is kept once in the Backups folder, then Uptime Kuma starts again."_s.arg(dataDir) +
            (tag ? conversion.arg(*tag) : QString()),
        .confirmButton = u"Restore"_s,
        .cancelButton = u"Cancel"_s,
    };
}

/// How often it is looked whether a conversion is still known.
constexpr std::chrono::seconds lookPeriod{1};

Outcome cancelled() {
    return failed(u"Cancelled."_s, u"Nothing was restored."_s);
}

} // namespace

std::optional<OpError> databaseError(const BackupResult& backup) {
    const QString details = u"%1\n\nThe backup is\n%2"_s;
    if (backup.databaseProblem) {
        return OpError{u"The backup was made, but its database did not pass a check."_s,
                       details.arg(*backup.databaseProblem, backup.path)};
    }
    if (backup.databaseNotChecked) {
        return OpError{u"The backup was made, but its database could not be checked."_s,
                       details.arg(*backup.databaseNotChecked, backup.path)};
    }
    return std::nullopt;
}

BackupOperations::BackupOperations(const ContainerContext& context, const std::shared_ptr<Operations>& operations,
                                   ContainerOperations& containerOperations, const DataTurns& dataTurns,
                                   Dialogs& dialogs, Desktop& desktop, Clock& clock, TaskScope& tasks)
    : m_context(context)
    , m_operations(operations)
    , m_containerOperations(containerOperations)
    , m_dataTurns(dataTurns)
    , m_dialogs(dialogs)
    , m_desktop(desktop)
    , m_clock(clock)
    , m_tasks(tasks) {}

void BackupOperations::backUpNow() {
    m_tasks.start(askForBackup(), u"question about a backup"_s);
}

QCoro::Task<void> BackupOperations::askForBackup() {
    const SavePanel panel = backupPanel(m_context.host.timestamp());
    const std::optional<QString> destination = co_await m_dialogs.chooseSavePath(panel);
    if (!destination || destination->isEmpty()) {
        co_return;
    }
    const bool mayBegin = co_await conversionEnds();
    if (!mayBegin) {
        co_return;
    }
    m_operations->backupBegan();
    const Backup backup{.dataDir = m_context.files.dataDir(),
                        .destination = *destination,
                        .backUp = m_context.host.backUp,
                        .dataTurns = m_dataTurns,
                        .desktop = m_desktop,
                        .operations = m_operations};
    m_backups.start(performBackup(backup), backingUpText());
}

/// Waits until Uptime Kuma does not convert its data, or no longer: a copy made meanwhile is sound, and yet no server
/// starts on it. False when the program ends first.
QCoro::Task<bool> BackupOperations::conversionEnds() {
    const std::stop_token stop = m_waiting.get_token();
    m_waitingBackups += 1;
    const auto ended = qScopeGuard([this] {
        m_waitingBackups -= 1;
        m_context.state.set(&ControllerState::backupWaits, m_waitingBackups > 0);
    });
    // The poll tells when it is over.
    while (m_context.state->conversion && !stop.stop_requested()) {
        m_context.state.set(&ControllerState::backupWaits, true);
        co_await sleepFor(&m_clock, lookPeriod, stop);
    }
    co_return !m_context.state->conversion;
}

QCoro::Task<void> BackupOperations::performBackup(Backup backup) {
    std::optional<OpError> error;
    std::optional<QString> made;
    {
        const DataTurns::Turn turn = co_await backup.dataTurns.take();
        try {
            const BackupResult result = co_await backup.backUp(backup.dataDir, backup.destination);
            made = result.path;
            error = databaseError(result);
        } catch (const std::exception& failure) {
            error = OpError{u"The backup failed."_s, QString::fromUtf8(failure.what())};
        }
    }
    if (const auto operations = backup.operations.lock()) {
        operations->backupEnded(error);
    }
    if (made) {
        backup.desktop.reveal(*made);
    }
}

void BackupOperations::restoreBackup() {
    m_tasks.start(askForRestore(), u"question about a restore"_s);
}

QCoro::Task<void> BackupOperations::askForRestore() {
    const OpenPanel panel = restorePanel();
    const std::optional<QString> source = co_await m_dialogs.chooseOpenPath(panel);
    if (!source || source->isEmpty()) {
        co_return;
    }
    const bool confirmed = co_await agreesToRestore(*source);
    if (confirmed) {
        m_operations->run(u"Restoring backup…"_s,
                          [this, source = *source](std::stop_token stop) { return performRestore(source, stop); });
    }
}

/// What the backup is, the user should know before anything is stopped for it.
QCoro::Task<bool> BackupOperations::agreesToRestore(QString source) {
    const DataVersion version = co_await m_context.host.dataVersion(source);
    if (version == DataVersion::converting) {
        replaceError(m_context.state, {u"The restore failed. "_s + BackupManager::interruptedSentence(), source});
        co_return false;
    }
    const bool isConverted = version == DataVersion::old && convertsOldData(m_context.state->imageTag);
    const Alert question = restoreQuestion(m_context.files.dataDir(),
                                           isConverted ? std::optional(m_context.state->imageTag) : std::nullopt);
    const bool confirmed = co_await m_dialogs.confirm(question);
    co_return confirmed;
}

QCoro::Task<Outcome> BackupOperations::performRestore(QString source, std::stop_token stop) {
    const Outcome notReplaced = co_await replaceData(source, stop);
    if (notReplaced) {
        co_return notReplaced;
    }
    const Outcome notStarted = co_await startOnReplacedData(stop);
    co_return notStarted;
}

QCoro::Task<Outcome> BackupOperations::startOnReplacedData(std::stop_token stop) {
    const Outcome notStopped = co_await stopWhatCameBack();
    const Outcome notStarted = co_await m_containerOperations.performStart(stop);
    co_return notStarted ? notStarted : notStopped;
}

QCoro::Task<Outcome> BackupOperations::replaceData(QString source, std::stop_token stop) {
    // Before the stop: a backup that is under way need not have the server stand still.
    const DataTurns::Turn turn = co_await m_dataTurns.take();
    if (stop.stop_requested()) {
        co_return cancelled();
    }
    const bool isAllowed = co_await m_containerOperations.conversions().mayStop();
    if (!isAllowed) {
        co_return cancelled();
    }
    const bool wasStopped = m_context.state->kuma == KumaState::stopped && !m_context.state->isPaused;
    findContainer(m_context);
    const Outcome notStopped = co_await m_containerOperations.performStop();
    if (notStopped) {
        co_return notStopped;
    }
    // A stop that could not look at the container ends without an error, and the server may be running.
    const QString consequence = u"Nothing was restored."_s;
    const Outcome obstacle = co_await m_containerOperations.obstacleToData(consequence);
    if (obstacle) {
        co_return obstacle;
    }
    bool isCancelled = stop.stop_requested();
    if (!isCancelled) {
        try {
            co_await m_context.host.restore(source, m_context.files.dataDir(), m_context.files.backupsDir(), stop);
        } catch (const Cancelled&) {
            isCancelled = true;
        } catch (const std::exception& thrown) {
            const QString reason = QString::fromUtf8(thrown.what());
            co_return failed(u"The restore failed. "_s + reason, reason);
        }
    }
    if (!isCancelled) {
        co_return std::nullopt;
    }
    const Outcome notStarted = co_await startAgain(wasStopped);
    co_return notStarted ? notStarted : cancelled();
}

/// Nothing was replaced: the server runs again if it ran.
QCoro::Task<Outcome> BackupOperations::startAgain(bool wasStopped) {
    if (wasStopped) {
        co_return std::nullopt;
    }
    const std::stop_token never;
    const Outcome started = co_await m_containerOperations.performStart(never);
    co_return started;
}

/// A daemon that came back meanwhile has started its containers again, and that one works on the data that was
/// replaced.
QCoro::Task<Outcome> BackupOperations::stopWhatCameBack() {
    const std::optional<Container> known = knownContainer(m_context);
    if (!known) {
        co_return std::nullopt;
    }
    const Container& container = *known;
    const std::optional<QString> word = co_await container.state();
    if (word != u"running"_s) {
        co_return std::nullopt;
    }
    const Outcome stopped = co_await m_containerOperations.performStop();
    co_return stopped;
}

void BackupOperations::revealDataFolder() {
    const ContainerFiles& files = m_context.files;
    // An empty folder must not come in the way of a restore, which is just filling the new one.
    if (!m_dataTurns.isTaken()) {
        BackupManager::recover(files.dataDir(), files.backupsDir());
        QDir().mkpath(files.dataDir());
    }
    m_desktop.reveal(files.dataDir());
}

} // namespace orvanel
