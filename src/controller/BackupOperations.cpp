#include "controller/ContainerAnswer.h"
#include "controller/DatabaseError.h"
#include "controller/KumaController.h"

#include <QDir>
#include <QPointer>

#include <exception>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

QString backingUpText() {
    return u"Backing up…"_s;
}

SavePanel backupPanel(const QString& timestamp) {
    return {
        .title = u"Back up Uptime Kuma data"_s,
        .message = u"A name ending in .zip makes a zip file; otherwise a folder is created. Uptime Kuma "
                   "keeps running."_s,
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

Alert restoreQuestion(const QString& dataDir) {
    return {
        .style = Alert::Style::Warning,
        .message = u"Restore this backup?"_s,
        .informativeText = u"Uptime Kuma will be stopped and the data in\n%1\nwill be replaced by the "
                           "backup. The current data is kept once in the Backups folder, then Uptime "
                           "Kuma starts again."_s.arg(dataDir),
        .confirmButton = u"Restore"_s,
        .cancelButton = u"Cancel"_s,
    };
}

} // namespace

void KumaController::backUpNow() {
    m_tasks.start(askForBackup(), u"question about a backup"_s);
}

QCoro::Task<void> KumaController::askForBackup() {
    const SavePanel panel = backupPanel(m_env.timestamp());
    const std::optional<QString> destination = co_await m_env.dialogs->chooseSavePath(panel);
    if (!destination || destination->isEmpty()) {
        co_return;
    }
    m_state.set(&ControllerState::busy, backingUpText());
    m_backupsUnderWay += 1;
    m_backups.start(performBackup(this, *destination), backingUpText());
}

/// The controller may go meanwhile: the backup is made, and shown, all the same.
QCoro::Task<void> KumaController::performBackup(QPointer<KumaController> controller, QString destination) {
    Desktop* const desktop = controller->m_env.desktop;
    const auto backUp = controller->m_env.backUp;
    const QString dataDir = controller->dataDir();
    std::optional<OpError> error;
    std::optional<QString> made;
    {
        const DataTurns::Turn turn = co_await controller->m_dataTurns.take();
        try {
            const BackupResult backup = co_await backUp(dataDir, destination);
            made = backup.path;
            error = databaseError(backup);
        } catch (const std::exception& failure) {
            error = OpError{u"The backup failed."_s, QString::fromUtf8(failure.what())};
        }
    }
    if (controller) {
        controller->backupEnded(error);
    }
    if (made) {
        desktop->reveal(*made);
    }
}

/// The operation that runs beside the backup keeps its own words; without one, whatever backups there are have theirs.
void KumaController::showBackups() {
    if (m_opTask) {
        m_state.set(&ControllerState::busy, m_operationText);
        return;
    }
    m_state.set(&ControllerState::busy, m_backupsUnderWay > 0 ? std::optional(backingUpText()) : std::nullopt);
}

void KumaController::backupEnded(const std::optional<OpError>& error) {
    m_backupsUnderWay -= 1;
    showBackups();
    if (error) {
        replaceError(*error);
    }
}

void KumaController::restoreBackup() {
    m_tasks.start(askForRestore(), u"question about a restore"_s);
}

QCoro::Task<void> KumaController::askForRestore() {
    const OpenPanel panel = restorePanel();
    const std::optional<QString> source = co_await m_env.dialogs->chooseOpenPath(panel);
    if (!source || source->isEmpty()) {
        co_return;
    }
    const Alert question = restoreQuestion(dataDir());
    const bool confirmed = co_await m_env.dialogs->confirm(question);
    if (confirmed) {
        runOp(u"Restoring backup…"_s,
              [this, source = *source](std::stop_token stop) { return performRestore(source, stop); });
    }
}

QCoro::Task<void> KumaController::performRestore(QString source, std::stop_token stop) {
    std::optional<QString> failure;
    {
        // Before the stop: a backup that is under way need not have the server stand still.
        const DataTurns::Turn turn = co_await m_dataTurns.take();
        if (!m_state->dockerPath) {
            m_state.set(&ControllerState::dockerPath, m_env.findDocker(m_state->dockerOverride));
        }
        const bool isStopped = co_await tryStop();
        if (!isStopped) {
            co_return;
        }
        // A stop that could not look at the container ends without an error, and the server may be running.
        const ContainerLook look = co_await lookAtContainer();
        if (mayServerRun(look)) {
            m_state.set(&ControllerState::error, unknownContainerError(look.answer, u"Nothing was restored."_s));
            co_return;
        }
        try {
            co_await m_env.restore(source, dataDir(), backupsDir());
        } catch (const std::exception& thrown) {
            failure = QString::fromUtf8(thrown.what());
        }
    }
    if (failure) {
        m_state.set(&ControllerState::error, OpError{u"The restore failed. "_s + *failure, *failure});
        co_return;
    }
    co_await stopWhatCameBack();
    co_await performStart(stop);
}

/// A daemon that came back meanwhile has started its containers again, and that one works on the data that was
/// replaced.
QCoro::Task<void> KumaController::stopWhatCameBack() {
    if (!m_state->dockerPath) {
        co_return;
    }
    const QString docker = *m_state->dockerPath;
    const std::optional<QString> state = co_await containerState(docker);
    if (state == u"running"_s) {
        co_await performStop();
    }
}

void KumaController::revealDataFolder() {
    // An empty folder must not come in the way of a restore, which is just filling the new one.
    if (!m_dataTurns.isTaken()) {
        BackupManager::recover(dataDir(), backupsDir());
        QDir().mkpath(dataDir());
    }
    m_env.desktop->reveal(dataDir());
}

} // namespace orvanel
