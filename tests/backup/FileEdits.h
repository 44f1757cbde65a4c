#pragma once

#include "backup/FileSystem.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>

namespace orvanel::test {

inline FileId idOf(const QString& path) {
    const auto status = statusOf(path);
    return status ? FileId(*status) : FileId();
}

inline timespec dateOf(const QString& path) {
    return statusOf(path).value().st_mtim;
}

inline void setDate(const QString& path, const timespec& date) {
    const timespec times[] = {date, date};
    ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, AT_SYMLINK_NOFOLLOW);
}

/// Writes into the file as it is, without making a new one.
inline void writeInPlace(const QString& path, const QByteArray& content) {
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) || file.write(content) != content.size()) {
        qFatal("could not write into %s", qPrintable(path));
    }
}

inline void damageDatabase(const QString& path) {
    writeInPlace(path, QByteArray("SQLite format 3\0", 16) + QByteArray(5000, 'x'));
}

} // namespace orvanel::test
