#pragma once

#include "backup/BackupManager.h"
#include "platform/Desktop.h"
#include "platform/Dialogs.h"
#include "platform/LoginItem.h"
#include "platform/Notifier.h"
#include "platform/SettingsStore.h"
#include "process/DockerCLI.h"
#include "release/ReleaseAnswer.h"
#include "statuspage/StatusPageClient.h"
#include "task/Clock.h"

namespace orvanel {

/// Everything outside that the controller uses, so that a test can put its own in place of each.
/// What the pointers and functions refer to must outlive the controller.
struct ControllerEnvironment {
    SettingsStore* defaults = nullptr;
    Clock* clock = nullptr;
    Notifier* notifier = nullptr;
    LoginItem* loginItem = nullptr;
    Desktop* desktop = nullptr;
    Dialogs* dialogs = nullptr;

    /// The user's application-support folder.
    QString applicationSupport;

    RunCommand run = &DockerCLI::run;
    std::function<std::optional<QString>(const QString& override)> findDocker = &DockerCLI::find;
    std::function<std::optional<QString>(const QString& name)> findTool = &DockerCLI::findTool;
    std::function<std::optional<QString>(const QString& name)> findToolElsewhere = &DockerCLI::findOutsideSearchFolders;
    std::function<bool(int port)> isPortFree = &DockerCLI::isPortFree;
    std::function<bool(int port)> isPortFreeForListening = &DockerCLI::isPortFreeForListening;

    std::function<QCoro::Task<bool>(int port)> pageAnswers;
    std::function<QCoro::Task<StatusPageResult>(int port, QString slug)> fetchStatusPage;
    std::function<QCoro::Task<ReleaseResult>()> fetchLatestRelease;

    std::function<QCoro::Task<BackupResult>(QString dataDir, QString destination)> backUp = &BackupManager::backUp;
    std::function<QCoro::Task<std::optional<BackupResult>>(QString dataDir, QString backupsDir, QString label)>
        autoBackup = &BackupManager::autoBackup;
    std::function<QCoro::Task<void>(QString source, QString dataDir, QString backupsDir)> restore =
        &BackupManager::restore;
    std::function<QString()> timestamp = &BackupManager::timestamp;
};

} // namespace orvanel
