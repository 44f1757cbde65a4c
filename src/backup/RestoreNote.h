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

/// Whether a work folder, open, has such a note, be it unreadable, which finishRestore() has not dealt with yet.
bool hasRestoreNote(int work);

/// Deals with what a crashed run noted in the open work folder `work`: where it ended between its two steps, the
/// previous data comes back from `backupsDir` to `place`, the data folder's, if nothing or an empty folder is there;
/// else it stays among the backups, under a name that no later restore deletes. Throws what the platform says when that
/// cannot be told or done now; the note is then still there. Blocks; any thread.
void finishRestore(int work, const QString& place, const QString& backupsDir);

} // namespace orvanel
