#pragma once

#include "backup/FileSystem.h"

#include <QString>
#include <QStringList>

namespace orvanel {

/// `path` with every link resolved, that at its end too; empty, with errno, when there is nothing.
QString resolved(const QString& path);

/// `path` with every link on the way to it resolved, but not itself: absolute, without "." and "..". What is at its end
/// need not exist; throws what the platform says when the folder that would hold it cannot be reached.
QString placeOf(const QString& path);

/// The places of the links that lead to the data folder, each as of placeOf(), and last its own. Throws what the
/// platform says.
QStringList dataPlacesOf(const QString& dataDir);

/// Where the data folder is or would be: placeOf() the end of all links, of which the last may lead to nothing. Throws
/// what the platform says when the folder that would hold it cannot be reached.
QString dataPlaceOf(const QString& dataDir);

/// Whether `path`, which need not exist, is `folder` or lies anywhere in it, also through links and mounts: one of
/// the folders above it is the very same.
bool isInside(const QString& path, const QString& folder);

/// Throws a sentence when a backup at `destination`, as of placeOf(), would be, hold or lie inside `dataDir` or a link
/// on the way to it, or would take the place of a folder in which previous data is kept.
void requireBackupPlace(const QString& destination, const QString& dataDir);

/// Throws a sentence when `destination`, as of placeOf(), is a folder with the name of one in which previous data is
/// kept, or when it would have such a name, or lie under one, in the Backups folder beside `dataDir`: what restores and
/// updates keep there is theirs, and the next restore deletes what has the name of an older one.
void requireNoKeptData(const QString& destination, const QString& dataDir);

/// Throws a sentence when data cannot be restored from `source` without the copies getting in each other's way.
void requireRestorePlaces(const QString& source, const QString& dataDir, const QString& backupsDir);

} // namespace orvanel
