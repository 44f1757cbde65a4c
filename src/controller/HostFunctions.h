#pragma once

#include "backup/BackupManager.h"
#include "backup/DailyCopies.h"
#include "controller/RootHelper.h"
#include "process/DockerCLI.h"

namespace orvanel {

using namespace Qt::StringLiterals;

/// What the controller asks of the computer: to run commands, to look for tools and ports, and to copy data. A test can
/// replace each function with its own. What the functions refer to must outlive the controller.
struct HostFunctions {
    RunCommand run = &DockerCLI::run;
    /// For the root helper.
    RunCommand runToItsEnd = &DockerCLI::runToItsEnd;
    std::function<std::optional<RootHelper>()> rootHelper = &RootHelper::find;
    std::function<std::optional<QString>(const QString& override)> findDocker = &DockerCLI::find;
    std::function<std::optional<QString>(const QString& name)> findTool = &DockerCLI::findTool;
    std::function<std::optional<QString>(const QString& name)> findToolElsewhere = &DockerCLI::findOutsideSearchFolders;

    /// The docker tool: the result of the search or, failing that, of a search where Linux puts tools.
    std::optional<QString> docker(const QString& override) const {
        const std::optional<QString> found = findDocker(override);
        return found ? found : findToolElsewhere(u"docker"_s);
    }
    /// Finds any other tool in the same way.
    std::optional<QString> tool(const QString& name) const {
        const std::optional<QString> found = findTool(name);
        return found ? found : findToolElsewhere(name);
    }

    /// The session's DOCKER_HOST, which no child gets.
    std::function<QString()> dockerHost = [] { return qEnvironmentVariable("DOCKER_HOST"); };

    std::function<bool(int port)> isPortFree = &DockerCLI::isPortFree;
    std::function<bool(int port)> isPortFreeForListening = &DockerCLI::isPortFreeForListening;

    std::function<QCoro::Task<BackupResult>(QString dataDir, QString destination)> backUp = &BackupManager::backUp;
    std::function<QCoro::Task<std::optional<BackupResult>>(QString dataDir, QString backupsDir, QString label)>
        autoBackup = &BackupManager::autoBackup;
    std::function<QCoro::Task<void>(QString source, QString dataDir, QString backupsDir, std::stop_token stop)>
        restore = &BackupManager::restore;
    std::function<bool(const QString& folder)> looksLikeData = &BackupManager::looksLikeData;
    std::function<QCoro::Task<QString>(QString folder)> fingerprint = &BackupManager::fingerprint;
    std::function<QString(const QString& path)> identity = &BackupManager::identity;
    std::function<QCoro::Task<DataVersion>(QString source)> dataVersion = &BackupManager::dataVersion;
    std::function<QCoro::Task<std::optional<DailyBackupResult>>(QString dataDir, QString backupsDir, QDateTime now)>
        makeDailyCopy = &DailyCopies::make;
    std::function<QCoro::Task<void>(QString backupsDir)> pruneDailyCopies = &DailyCopies::prune;
    std::function<QCoro::Task<DailyCopyStock>(QString backupsDir)> lookAtDailyCopies = &DailyCopies::look;
    /// Deletes what earlier runs left behind; may be empty.
    std::function<QCoro::Task<void>(QString dataDir, QString backupsDir)> cleanUp = &BackupManager::cleanUp;
    std::function<QString()> timestamp = &BackupManager::timestamp;
};

} // namespace orvanel
