#include "backup/Fingerprint.h"

#include "backup/FileSystem.h"

#include <QCryptographicHash>
#include <QFile>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <unistd.h>

namespace orvanel {
namespace {

/// Each part with its length before it, so that no two different folders read the same.
void add(QCryptographicHash& hash, QByteArrayView part) {
    hash.addData(QByteArray::number(part.size()) + ':');
    hash.addData(part);
}

void addLink(QCryptographicHash& hash, int folder, const std::string& name, const std::string& path) {
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlinkat(folder, name.c_str(), target.data(), target.size());
    if (length < 0) {
        throw fileError(path, errno);
    }
    add(hash, QByteArrayView(target.data(), length));
}

void addFile(QCryptographicHash& hash, int folder, const std::string& name, const std::string& path) {
    const FileDescriptor file(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    if (file.get() < 0) {
        throw fileError(path, errno);
    }
    QByteArray block(qsizetype(256) * 1024, Qt::Uninitialized);
    qint64 size = 0;
    for (;;) {
        const ssize_t got = ::read(file.get(), block.data(), static_cast<std::size_t>(block.size()));
        if (got < 0) {
            throw fileError(path, errno);
        }
        if (got == 0) {
            break;
        }
        size += got;
        hash.addData(QByteArrayView(block.constData(), got));
    }
    add(hash, QByteArray::number(size));
}

void addFolder(QCryptographicHash& hash, int folder, const std::string& path) {
    std::vector<std::string> names = entriesOf(folder, path);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names) {
        const std::string inner = path + '/' + name;
        struct stat status {};
        if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            throw fileError(inner, errno);
        }
        add(hash, name);
        add(hash, QByteArray::number(status.st_mode & S_IFMT));
        if (S_ISDIR(status.st_mode)) {
            const FileDescriptor opened = openFolder(folder, name);
            if (opened.get() < 0) {
                throw fileError(inner, errno);
            }
            addFolder(hash, opened.get(), inner);
        } else if (S_ISLNK(status.st_mode)) {
            addLink(hash, folder, name, inner);
        } else if (S_ISREG(status.st_mode)) {
            addFile(hash, folder, name, inner);
        }
    }
    add(hash, "/");
}

} // namespace

QString fingerprintOf(const QString& folder) {
    const std::string path = QFile::encodeName(folder).toStdString();
    const FileDescriptor opened = openFolder(AT_FDCWD, path);
    if (opened.get() < 0) {
        throw fileError(path, errno);
    }
    QCryptographicHash hash(QCryptographicHash::Blake2b_256);
    addFolder(hash, opened.get(), path);
    return QString::fromLatin1(hash.result().toHex());
}

} // namespace orvanel
