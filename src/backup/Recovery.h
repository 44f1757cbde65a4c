#pragma once

#include <QString>

namespace orvanel {

using namespace Qt::StringLiterals;

class WorkFolder;

/// The names of the folders that keep the data before a restore begin with this.
inline const QString keptPrefix = u"before-restore-"_s;

/// Notes in `work` that the data folder is about to be moved to `kept` among the backups and replaced by `fresh`, which
/// is in `work`. Waits until the note is on the disk. Throws a file error. Blocks; any thread.
void noteRestore(const WorkFolder& work, const QString& fresh, const QString& kept);

/// Removes the note, because nothing was moved and nothing will be.
void forgetRestore(const WorkFolder& work);

/// Whether an open work folder has such a note, readable or not, that recoverData() has not dealt with yet.
bool hasRestoreNote(int work);

/// Whether a restore that was killed still has to be dealt with. If so, the data that it kept must not be deleted,
/// whatever its name. `parent` is the folder that holds the data folder; `own` is the work folder of this run.
bool isRestorePending(const QString& parent, const QString& own);

/// See BackupManager::recover().
void recoverData(const QString& dataDir, const QString& backupsDir);

} // namespace orvanel
