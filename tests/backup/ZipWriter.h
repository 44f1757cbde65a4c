#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>
#include <sys/stat.h>

namespace orvanel::test {

/// One entry of an archive, as an attacker may choose it.
struct ZipEntry {
    QByteArray name;
    /// For a link, what it points to.
    QByteArray content = {};
    mode_t mode = S_IFREG | 0644;
    /// The size that the archive claims.
    std::optional<quint64> saidSize = {};
};

/// An archive with these entries, not compressed, made on a Unix system.
QByteArray zipOf(const QList<ZipEntry>& entries);

} // namespace orvanel::test
