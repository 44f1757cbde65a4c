#pragma once

#include <QString>

namespace orvanel {

/// Bytes on disk of everything in a folder, each file once however many names it has. What cannot be looked at counts
/// as nothing. Blocks; any thread.
qint64 bytesUsedBy(const QString& folder);

/// Bytes that the user may still write to the file system that holds `path`; none known is the largest number.
qint64 bytesFreeAt(const QString& path);

/// Says that there is too little room.
QString roomSentence(qint64 needed, qint64 free);

/// Throws a sentence when fewer than `bytes` are free at `path`.
void requireRoom(const QString& path, qint64 bytes);

} // namespace orvanel
