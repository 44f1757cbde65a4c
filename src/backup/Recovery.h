#pragma once

#include <QString>

namespace orvanel {

using namespace Qt::StringLiterals;

class WorkFolder;

/// What the names of the folders that keep the previous data of a restore begin with.
inline const QString keptPrefix = u"before-restore-"_s;

/// Notes in `work` that the data folder is about to be moved to `kept` among the backups, and waits until that is on
/// the disk. `fresh`, which is in `work`, then gets its place. Throws what the platform says. Blocks; any thread.
void noteRestore(const WorkFolder& work, const QString& fresh, const QString& kept);

/// Removes the note: nothing was moved, and nothing will be.
void forgetRestore(const WorkFolder& work);

/// Whether a work folder, open, has such a note, be it unreadable, which recoverData() has not dealt with yet.
bool hasRestoreNote(int work);

/// Whether a restore that was killed has still to be dealt with: what it kept is then not to be deleted, whatever its
/// name. `parent` holds the data folder, `own` is the work folder of this run.
bool isRestorePending(const QString& parent, const QString& own);

/// Contract: BackupManager::recover().
void recoverData(const QString& dataDir, const QString& backupsDir);

} // namespace orvanel
