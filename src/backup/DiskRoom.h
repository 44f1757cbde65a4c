#pragma once

#include "process/ProcessHandle.h"

#include <QCoro/QCoroTask>
#include <QString>
#include <QStringList>

#include <memory>
#include <stop_token>

namespace orvanel {

/// The bytes on disk of everything in a folder; a file with several names counts once. Anything that cannot be read
/// counts as nothing. Blocks; any thread.
qint64 bytesUsedBy(const QString& folder);
/// The same of several folders together: what they share counts once.
qint64 bytesUsedBy(const QStringList& folders);

/// The bytes that the user may still write to the file system that holds `path`; the largest number if that is unknown.
qint64 bytesFreeAt(const QString& path);

/// The size of that file system; 0 if that is unknown.
qint64 bytesInAllAt(const QString& path);

/// The sentence that says that there is too little room.
QString roomSentence(qint64 needed, qint64 free);

/// Throws that sentence if fewer than `bytes` are free at `path`.
void requireRoom(const QString& path, qint64 bytes);

/// Looks five times a second how much space is free on the file system that holds `folder`, and cancels `handle` if it
/// is less than `least` bytes. Ends then, or when `stop` is requested; returns whether it cancelled.
QCoro::Task<bool> watchRoom(QString folder, qint64 least, std::shared_ptr<ProcessHandle> handle, std::stop_token stop);

} // namespace orvanel
