#pragma once

#include "process/ProcessHandle.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <memory>
#include <stop_token>

namespace orvanel {

/// Bytes on disk of everything in a folder, each file once however many names it has. What cannot be looked at counts
/// as nothing. Blocks; any thread.
qint64 bytesUsedBy(const QString& folder);

/// Bytes that the user may still write to the file system that holds `path`; the largest number where it tells none.
qint64 bytesFreeAt(const QString& path);

/// Says that there is too little room.
QString roomSentence(qint64 needed, qint64 free);

/// Throws a sentence when fewer than `bytes` are free at `path`.
void requireRoom(const QString& path, qint64 bytes);

/// Looks five times a second how much the file system that holds `folder` has free, and cancels `handle` when that is
/// less than `least` bytes. Ends then, or when `stop` is requested; true when it cancelled.
QCoro::Task<bool> watchRoom(QString folder, qint64 least, std::shared_ptr<ProcessHandle> handle, std::stop_token stop);

} // namespace orvanel
