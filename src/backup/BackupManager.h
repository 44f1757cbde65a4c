#pragma once

#include "backup/DataVersion.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <optional>
#include <stop_token>

namespace orvanel {

/// A backup that was made.
struct BackupResult {
    /// Where it is: at the chosen place, or beside it when its database did not pass and an older backup is there.
    QString path;
    /// Why the copied database did not pass its check; none when it passed or there was none to check.
    std::optional<QString> databaseProblem = {};
    /// Why the check could not be made; the database may be good or bad. At most one of the two is there.
    std::optional<QString> databaseNotChecked = {};

    bool operator==(const BackupResult&) const = default;
};

/// The file operations on Uptime Kuma's data folder. No state; knows nothing of the container. Trees are copied,
/// checked and deleted on a worker; the tasks end on the calling thread.
///
/// Every operation throws AppError, with one sentence for the user or the description of the file error behind it, and
/// loses nothing: the data folder and an earlier backup at the destination are then as they were.
namespace BackupManager {

/// Copies the data folder to `destination`: into a zip archive when its extension is "zip" in any case, else into a
/// folder. What was there is replaced when the copy is complete and its database passed the check. Otherwise the new
/// backup is kept beside it as "NAME (check failed)" or "NAME (not checked)", with a number if need be. Refused when
/// `destination` is, holds or lies inside the data folder, also through links, and when it is or would be taken for
/// data kept by a restore or an update.
QCoro::Task<BackupResult> backUp(QString dataDir, QString destination);

/// Copies the data folder into `backupsDir`, as `label` and the time; none, and nothing is made, when there is no data
/// folder yet.
QCoro::Task<std::optional<BackupResult>> autoBackup(QString dataDir, QString backupsDir, QString label);

/// Puts the backup at `source` (folder or zip) in the place of the data folder, which is kept, once, in `backupsDir` as
/// "before-restore-" and the time. Refused when the backup was made during a conversion: no server starts on it. After
/// a crash at any point the data folder is whole or absent, and the previous data is whole in exactly one of these two
/// places.
///
/// If `stop` is requested before the data folder has been moved, everything stays as it was and Cancelled is thrown.
/// Later it has no effect.
QCoro::Task<void> restore(QString source, QString dataDir, QString backupsDir, std::stop_token stop = {});

/// What the backup at `source` (folder or zip) says of its data. Never throws: unknown where it cannot be read.
QCoro::Task<DataVersion> dataVersion(QString source);

/// A hash over all that a folder holds, whatever its dates and owners. Throws AppError.
QCoro::Task<QString> fingerprint(QString folder);

/// Which folder is at `path`, perhaps at the end of a link; empty when there is none. A folder that is put in its place
/// is another one; a folder that is moved away and back is the same. Only a look, so any thread.
QString identity(const QString& path);

/// Why data in the middle of a conversion is not restored.
QString interruptedSentence();

/// Gives back what a restore that was killed had taken away and not yet replaced: the data folder is then in its place
/// again. To be called before anything makes the data folder; the operations that know `backupsDir` do it themselves.
/// Only renames, so any thread; what cannot be given back now stays where it is for the next time.
void recover(const QString& dataDir, const QString& backupsDir);

/// Deletes what runs left that were killed, or ended by a quit, in the middle: unfinished copies beside the data, among
/// the backups, in the temporary folder and at the places of backups, and kept copies that were being deleted. To be
/// called once at the start, after recover(). Never throws.
QCoro::Task<void> cleanUp(QString dataDir, QString backupsDir);

/// Whether `folder` holds an entry "kuma.db" or "db-config.json".
bool looksLikeData(const QString& folder);

/// Now, as "yyyy-MM-dd-HHmmss".
QString timestamp();

} // namespace BackupManager

} // namespace orvanel
