#pragma once

#include "DataFolder.h"
#include "support/OwnMounts.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstring>
#include <random>
#include <sys/mount.h>

namespace orvanel::test {

using namespace Qt::StringLiterals;

/// Content that cannot be compressed.
inline QByteArray noise(int bytes) {
    std::mt19937 random(1);
    QByteArray content(bytes, '\0');
    for (char& byte : content) {
        byte = static_cast<char>(random());
    }
    return content;
}

/// A small disk in memory at `folder`/disk.
class SmallDisk {
public:
    SmallDisk(const DataFolder& folder, const char* options, const QString& at = u"disk"_s)
        : m_path(QFile::encodeName(folder.path(at))) {
        QDir().mkpath(folder.path(at));
        if (::mount("none", m_path.constData(), "tmpfs", 0, options) != 0) {
            qFatal("no disk in memory: %s", std::strerror(errno));
        }
    }
    ~SmallDisk() { ::umount2(m_path.constData(), MNT_DETACH); }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;

private:
    QByteArray m_path;
};

} // namespace orvanel::test
