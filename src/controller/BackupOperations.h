#pragma once

#include "controller/ContainerOperations.h"
#include "controller/DataTurns.h"
#include "platform/Desktop.h"

namespace orvanel {

/// What to tell of a backup whose database did not pass the check, or could not be checked.
std::optional<OpError> databaseError(const BackupResult& backup);

/// Backs up beside the running container, and restores in its place. Main thread only. What it is given must outlive
/// it, and it must outlive its tasks. A backup that is under way may outlive all of them except the desktop: it is
/// still made and shown.
class BackupOperations {
public:
    BackupOperations(const ContainerContext& context, const std::shared_ptr<Operations>& operations,
                     ContainerOperations& containerOperations, const DataTurns& dataTurns, Dialogs& dialogs,
                     Desktop& desktop, Clock& clock, TaskScope& tasks);

    void backUpNow();
    void restoreBackup();
    void revealDataFolder();

    // --- Steps that other operations take too.

    /// Stops the server, unless it may not be stopped, and puts the backup in the place of the data.
    QCoro::Task<Outcome> replaceData(QString source, std::stop_token stop);
    /// Starts the server after that.
    QCoro::Task<Outcome> startOnReplacedData(std::stop_token stop);

    /// The program does not end, or no longer.
    void allowWaiting() {
        if (m_waiting.stop_requested()) {
            m_waiting = std::stop_source();
        }
    }
    /// The program ends: a backup that waits for the end of a conversion is not made.
    void stopWaiting() { m_waiting.request_stop(); }

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
    QCoro::Task<bool> conversionEnds();
    static QCoro::Task<void> performBackup(Backup backup);
    QCoro::Task<void> askForRestore();
    QCoro::Task<bool> agreesToRestore(QString source);
    QCoro::Task<Outcome> performRestore(QString source, std::stop_token stop);
    QCoro::Task<Outcome> startAgain(bool wasStopped);
    QCoro::Task<Outcome> stopWhatCameBack();

    const ContainerContext m_context;
    const std::shared_ptr<Operations> m_operations;
    ContainerOperations& m_containerOperations;
    const DataTurns m_dataTurns;
    Dialogs& m_dialogs;
    Desktop& m_desktop;
    Clock& m_clock;
    TaskScope& m_tasks;
    std::stop_source m_waiting;
    int m_waitingBackups = 0;
    TaskScope m_backups;
};

} // namespace orvanel
