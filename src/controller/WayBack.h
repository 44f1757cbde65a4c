#pragma once

#include "controller/BackupOperations.h"
#include "controller/UserSettings.h"

namespace orvanel {

/// The way back to the version before the last update: while the copy of the data that the update made is there, the
/// user can return to it and to the old version. Main thread only. What it is given must outlive it, and it must
/// outlive its tasks.
class WayBack {
public:
    WayBack(const ContainerContext& context, UserSettings& settings, Operations& operations,
            ContainerOperations& containerOperations, BackupOperations& backups, Dialogs& dialogs, TaskScope& tasks);

    /// Publishes whether there is a way back.
    void look() const;
    /// Asks first; then makes sure of the old version's image and of the copy, stops the server, puts the copy in the
    /// place of the data, pins the old version and starts it.
    void goBack();
    /// Ends what goBack() has begun, in this run or in one that was killed: where the data is replaced, the old version
    /// is pinned; otherwise all is as it was. False when the old version could not be stored; the next run tries again.
    bool settle() const;

private:
    QCoro::Task<void> askToGoBack(SafetyCopyNote copy);
    QCoro::Task<Outcome> performGoBack(SafetyCopyNote copy, std::stop_token stop);
    QCoro::Task<Outcome> obstacleToCopy(SafetyCopyNote copy) const;
    QCoro::Task<Outcome> bringImage(Container container, QString tag, std::stop_token stop);
    QString pathOf(const SafetyCopyNote& copy) const;
    QString presentData() const;

    const ContainerContext m_context;
    UserSettings& m_settings;
    Operations& m_operations;
    ContainerOperations& m_containerOperations;
    BackupOperations& m_backups;
    Dialogs& m_dialogs;
    TaskScope& m_tasks;
};

} // namespace orvanel
