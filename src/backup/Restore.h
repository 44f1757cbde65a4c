#pragma once

#include <QString>

#include <stop_token>

namespace orvanel {

/// The folder with data in an unpacked archive: `folder` itself or the first entry in it that looks like data. Throws a
/// sentence if there is none.
QString findUnpackedData(const QString& folder);

/// Puts a copy of the folder `source` in the place of the data folder, which is kept in `backupsDir`. `origin` is what
/// the user chose: `source` itself, or the archive that it was unpacked from. Otherwise works as
/// BackupManager::restore() does, and throws the same errors. Blocks; any thread.
void restoreFolder(const QString& source, const QString& origin, const QString& dataDir, const QString& backupsDir,
                   const std::stop_token& stop);

} // namespace orvanel
