#pragma once

#include "controller/ContainerOperations.h"
#include "controller/DataTurns.h"
#include "platform/Desktop.h"

namespace orvanel {

/// Backs up beside the running container, and restores in its place. Main thread only; what it is given must outlive
/// it, and it its tasks. A backup that is under way may outlive them all but the desktop: it is made, and shown, all
/// the same.
class BackupOperations {
public:
    BackupOperations(const ContainerContext& context, const std::shared_ptr<Operations>& operations,
                     ContainerOperations& containerOperations, const DataTurns& dataTurns, Dialogs& dialogs,
                     Desktop& desktop, TaskScope& tasks);

    void backUpNow();
    void restoreBackup();
    void revealDataFolder();

    /// The backups under way, which nothing cancels.
    const TaskScope& backups() const { return m_backups; }
    QCoro::Task<void> finished() { return m_backups.finished(); }

private:
    struct Backup {
        QString dataDir;
        QString destination;
        decltype(HostFunctions::backUp) backUp;
        DataTurns dataTurns;
        Desktop& desktop;
        std::weak_ptr<Operations> operations;
    };
    QCoro::Task<void> askForBackup();
    static QCoro::Task<void> performBackup(Backup backup);
    QCoro::Task<void> askForRestore();
    QCoro::Task<Outcome> performRestore(QString source, std::stop_token stop);
    QCoro::Task<Outcome> replaceData(QString source, std::stop_token stop);
    QCoro::Task<Outcome> startAgain(bool wasStopped);
    QCoro::Task<Outcome> stopWhatCameBack();

    const ContainerContext m_context;
    const std::shared_ptr<Operations> m_operations;
    ContainerOperations& m_containerOperations;
    const DataTurns m_dataTurns;
    Dialogs& m_dialogs;
    Desktop& m_desktop;
    TaskScope& m_tasks;
    TaskScope m_backups;
};

} // namespace orvanel
