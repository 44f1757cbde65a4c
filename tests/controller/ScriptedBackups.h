#pragma once

#include "backup/BackupManager.h"
#include "controller/HostFunctions.h"
#include "process/AppError.h"
#include "task/Event.h"

#include <QList>

using namespace Qt::StringLiterals;

namespace orvanel::test {

/// Backups and restores without copying. Each ends at once or, while `holds` is set, when the test completes its event.
class ScriptedBackups {
public:
    struct Job {
        /// "back up", "auto backup", "daily copy", "prune" or "restore".
        QString kind;
        /// The arguments of the call, in order.
        QStringList arguments;
        Event<> go;
    };

    QList<Job> jobs;
    /// The number of jobs that have begun and not ended.
    int underWay = 0;
    bool holds = false;
    /// The failure of the next jobs, if they are to fail.
    std::optional<QString> failure;
    std::optional<QString> databaseProblem;
    std::optional<QString> databaseNotChecked;
    bool hasData = true;
    /// Whether a restore has moved nothing yet when the test completes its event.
    bool restoreNoticesCancel = false;
    /// Copies that look like data, and what they hold; empty when that cannot be read.
    bool copyIsThere = true;
    QString fingerprint = u"f00d"_s;
    /// Counts the folders that have been the data.
    int dataFolders = 1;
    DataVersion dataVersion = DataVersion::converted;
    /// What there is of daily copies; each that is made is added.
    DailyCopyStock daily;
    /// The weekly copies that the next daily ones delete.
    QStringList deletedForRoom;
    /// Called when a job begins, and when it does its work.
    std::function<void(const Job& job)> onBegin;
    std::function<void(const Job& job)> onWork;

    void letGo() {
        holds = false;
        for (const Job& job : jobs) {
            job.go.complete();
        }
    }

    void install(HostFunctions& host) {
        host.backUp = [this](QString dataDir, QString destination) { return backUp(dataDir, destination); };
        host.autoBackup = [this](QString dataDir, QString backupsDir, QString label) {
            return autoBackup(dataDir, backupsDir, label);
        };
        host.makeDailyCopy = [this](QString dataDir, QString backupsDir, QDateTime now) {
            return dailyCopy(dataDir, backupsDir, now);
        };
        host.pruneDailyCopies = [this](QString backupsDir) { return work(u"prune"_s, {backupsDir}); };
        host.lookAtDailyCopies = [this](QString) { return lookAtDaily(); };
        host.cleanUp = nullptr;
        host.restore = [this](QString source, QString dataDir, QString backupsDir, std::stop_token stop) {
            return restore(source, dataDir, backupsDir, stop);
        };
        host.dataVersion = [this](QString) { return versionOfBackup(); };
        host.looksLikeData = [this](const QString&) { return copyIsThere; };
        host.fingerprint = [this](QString) { return fingerprintOfCopy(); };
        host.identity = [this](const QString&) { return QString::number(dataFolders); };
        host.timestamp = [] { return u"2026-01-02-030405"_s; };
    }

private:
    QCoro::Task<void> work(QString kind, QStringList arguments) {
        const Job job{kind, arguments, {}};
        jobs.append(job);
        underWay += 1;
        if (onBegin) {
            onBegin(job);
        }
        if (!holds) {
            job.go.complete();
        }
        const Event<> go = job.go;
        co_await go;
        underWay -= 1;
        if (onWork) {
            onWork(job);
        }
        if (failure) {
            throw AppError(*failure);
        }
    }

    QCoro::Task<DataVersion> versionOfBackup() { co_return dataVersion; }

    QCoro::Task<BackupResult> backUp(QString dataDir, QString destination) {
        const QStringList arguments{dataDir, destination};
        co_await work(u"back up"_s, arguments);
        co_return BackupResult{
            .path = destination, .databaseProblem = databaseProblem, .databaseNotChecked = databaseNotChecked};
    }

    QCoro::Task<std::optional<BackupResult>> autoBackup(QString dataDir, QString backupsDir, QString label) {
        const QStringList arguments{dataDir, backupsDir, label};
        co_await work(u"auto backup"_s, arguments);
        if (!hasData) {
            co_return std::nullopt;
        }
        const QString path = backupsDir + u'/' + label;
        co_return BackupResult{
            .path = path, .databaseProblem = databaseProblem, .databaseNotChecked = databaseNotChecked};
    }

    QCoro::Task<std::optional<DailyBackupResult>> dailyCopy(QString dataDir, QString backupsDir, QDateTime now) {
        const QStringList arguments{dataDir, backupsDir, dailyTime(now)};
        co_await work(u"daily copy"_s, arguments);
        if (!hasData) {
            co_return std::nullopt;
        }
        DailyCopy copy{.time = dailyTime(now), .number = static_cast<int>(daily.copies.size()) + 1};
        if (databaseProblem) {
            copy.check = DailyCopy::Check::failed;
        }
        daily.copies.append(copy);
        daily.bytes += 1000;
        co_return DailyBackupResult{.backup = {.path = backupsDir + u'/' + copy.name(),
                                               .databaseProblem = databaseProblem,
                                               .databaseNotChecked = databaseNotChecked},
                                    .deletedForRoom = deletedForRoom};
    }

    QCoro::Task<DailyCopyStock> lookAtDaily() {
        // The task takes what it returns away from where it is.
        DailyCopyStock stock = daily;
        co_return stock;
    }

    QCoro::Task<void> restore(QString source, QString dataDir, QString backupsDir, std::stop_token stop) {
        const QStringList arguments{source, dataDir, backupsDir};
        co_await work(u"restore"_s, arguments);
        if (restoreNoticesCancel) {
            throwIfStopped(stop);
        }
        dataFolders += 1;
    }

    QCoro::Task<QString> fingerprintOfCopy() {
        if (fingerprint.isEmpty()) {
            throw AppError(u"kuma.db: Input/output error"_s);
        }
        // A member itself would be moved away.
        const QString read = fingerprint;
        co_return read;
    }
};

} // namespace orvanel::test
