#pragma once

#include <QString>

namespace orvanel {

/// The folder with data that an archive was unpacked to: `folder` itself or the first entry in it that looks like data.
/// Throws a sentence when there is none.
QString findUnpackedData(const QString& folder);

/// Puts a copy of the folder `source` in the place of the data folder, which is kept in `backupsDir`. `origin` is what
/// the user chose: it, or the archive from which `source` was unpacked. Contract and errors: BackupManager::restore().
/// Blocks; any thread.
void restoreFolder(const QString& source, const QString& origin, const QString& dataDir, const QString& backupsDir);

} // namespace orvanel
