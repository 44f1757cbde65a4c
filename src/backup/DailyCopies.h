#pragma once

#include "backup/BackupManager.h"
#include "backup/DailyCopy.h"

#include <QStringList>

namespace orvanel {

/// A daily copy that was made.
struct DailyBackupResult {
    BackupResult backup;
    /// The names of the weekly copies that were deleted before, because there was too little room.
    QStringList deletedForRoom = {};

    bool operator==(const DailyBackupResult&) const = default;
};

/// What there is of daily copies.
struct DailyCopyStock {
    /// In the order of their making.
    QList<DailyCopy> copies = {};
    /// What they take on the disk, what they share counted once; the disk may share even more when `isAtMost`.
    qint64 bytes = 0;
    bool isAtMost = false;

    bool operator==(const DailyCopyStock&) const = default;
};

/// The copies that are made every day in the Backups folder. No state; knows nothing of the container. All of it works
/// on a worker; the tasks end on the calling thread. At most one of make() and prune() may run at a time, and only
/// while nothing else works on the data or restores from the Backups folder.
namespace DailyCopies {

/// Copies the data folder into `backupsDir`, as "daily-" and the local time `now`, and checks the copied database. What
/// has not changed since the copy before is shared with it: block by block where the disk can, else file by file, see
/// shareFile(). Before that, where less than a tenth of the disk would be free with the new copy, weekly copies are
/// deleted.
///
/// None, and nothing is made, when there is no data folder yet. Throws AppError, with one sentence for the user or the
/// description of the file error behind it; the copies are then as they were, but for the deleted weekly ones.
QCoro::Task<std::optional<DailyBackupResult>> make(QString dataDir, QString backupsDir, QDateTime now);

/// Deletes the copies that are no longer kept: see expiredDailyCopies(). What cannot be deleted is tried again the next
/// time. Never throws.
QCoro::Task<void> prune(QString backupsDir);

/// Looks at every file of the copies. Never throws.
QCoro::Task<DailyCopyStock> look(QString backupsDir);

} // namespace DailyCopies

} // namespace orvanel
