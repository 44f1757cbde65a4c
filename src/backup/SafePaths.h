#pragma once

#include "backup/FileSystem.h"

#include <QString>
#include <QStringList>

namespace orvanel {

/// `path` with every link resolved, also a link at its end. Empty, with errno set, if there is nothing.
QString resolved(const QString& path);

/// `path` with every link on the way to it resolved, but not a link at its end: absolute, without "." and "..". Nothing
/// need exist at `path`. Throws a file error if the folder that would hold it cannot be reached.
QString placeOf(const QString& path);

/// The places, as placeOf() gives them, of the links that lead to the data folder; the last one is its own. Throws a
/// file error.
QStringList dataPlacesOf(const QString& dataDir);

/// Where the data folder is or would be, as placeOf() gives it: the end of all links, the last of which may lead to
/// nothing. Throws a file error if the folder that would hold it cannot be reached.
QString dataPlaceOf(const QString& dataDir);

/// Whether `path`, which need not exist, is `folder` or anywhere below it, also through links and mounts.
bool isInside(const QString& path, const QString& folder);

/// Throws a sentence if a backup at `destination` (a result of placeOf()) would be, contain or be inside `dataDir` or a
/// link on the way to it, or would replace a folder in which previous data is kept.
void requireBackupPlace(const QString& destination, const QString& dataDir);

/// Throws a sentence if `destination` (a result of placeOf()) is a folder whose name says that it keeps previous data,
/// or if a backup there would get such a name, or be inside such a folder, in the Backups folder beside `dataDir`.
/// Those names belong to restores and updates: the next restore deletes folders that have the name of an older kept
/// copy.
void requireNoKeptData(const QString& destination, const QString& dataDir);

/// Throws a sentence if data cannot be restored from `source` without the copies getting in each other's way.
void requireRestorePlaces(const QString& source, const QString& dataDir, const QString& backupsDir);

} // namespace orvanel
