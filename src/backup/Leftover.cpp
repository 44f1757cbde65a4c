#include "backup/Leftover.h"

#include "backup/Folder.h"

#include <QFile>
#include <QUuid>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace orvanel {
namespace {

bool isOurName(const QString& name, const QString& prefix) {
    if (!name.startsWith(prefix)) {
        return false;
    }
    const QString rest = name.mid(prefix.size());
    const QUuid uuid = QUuid::fromString(rest);
    return !uuid.isNull() && uuid.toString(QUuid::WithoutBraces).toUpper() == rest;
}

} // namespace

FileDescriptor lockFolder(const QString& path) {
    FileDescriptor folder = openFolder(AT_FDCWD, QFile::encodeName(path).toStdString());
    if (folder.isOpen() && ::flock(folder.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        folder.reset();
    }
    return folder;
}

std::vector<Leftover> leftoversIn(const QString& parent, const QString& prefix) {
    std::vector<Leftover> leftovers;
    const QStringList names = namesIn(parent);
    for (const QString& name : names) {
        if (!isOurName(name, prefix)) {
            continue;
        }
        const QString path = parent + u'/' + name;
        FileDescriptor folder = lockFolder(path);
        struct stat status {};
        if (folder.isOpen() && ::fstat(folder.get(), &status) == 0 && status.st_uid == ::geteuid()) {
            leftovers.push_back({path, std::move(folder)});
        }
    }
    return leftovers;
}

} // namespace orvanel
