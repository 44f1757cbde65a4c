#include "backup/WorkFolder.h"

#include "backup/FileError.h"
#include "backup/RemoveTree.h"
#include "backup/SwapNote.h"

#include <QFile>
#include <QUuid>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace orvanel {
namespace {

QString uuidText() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

bool isOurName(const QString& name, const QString& prefix) {
    if (!name.startsWith(prefix)) {
        return false;
    }
    const QString rest = name.mid(prefix.size());
    const QUuid uuid = QUuid::fromString(rest);
    return !uuid.isNull() && uuid.toString(QUuid::WithoutBraces).toUpper() == rest;
}

/// A closed descriptor when it cannot be opened or another process holds it. A file system without locks holds nothing.
FileDescriptor lockFolder(const QString& path) {
    FileDescriptor folder = openFolder(AT_FDCWD, QFile::encodeName(path).toStdString());
    if (folder.isOpen() && ::flock(folder.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        folder.reset();
    }
    return folder;
}

/// Removes what a crashed run left. Only a work folder of a swap has taken something away: in one that an archive was
/// unpacked to, a stranger may have laid whatever looks like it.
void removeLeftover(const QString& path, const QString& parent, bool mayHaveSwapped) {
    const auto status = statusOf(path);
    if (!status || !S_ISDIR(status->st_mode) || status->st_uid != ::geteuid()) {
        return;
    }
    const FileDescriptor lock = lockFolder(path);
    if (!lock.isOpen()) {
        return;
    }
    const FileDescriptor above(::open(QFile::encodeName(parent).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (mayHaveSwapped && (!above.isOpen() || !undoSwap(lock.get(), above.get()))) {
        return;
    }
    try {
        removeTree(path);
    } catch (const AppError&) {
        // Perhaps next time; it is in nobody's way.
        return;
    }
}

} // namespace

WorkFolder::WorkFolder(const QString& parent, const QString& prefix) {
    const QStringList names = namesIn(parent);
    for (const QString& name : names) {
        if (isOurName(name, prefix)) {
            removeLeftover(parent + u'/' + name, parent, prefix == hidden);
        }
    }
    m_path = (parent == u"/" ? parent : parent + u'/') + prefix + uuidText();
    if (::mkdir(QFile::encodeName(m_path).constData(), S_IRWXU) != 0) {
        throw fileError(parent, errno);
    }
    m_lock = lockFolder(m_path);
    const auto status = statusOf(m_path);
    if (!status || !m_lock.isOpen()) {
        throw fileError(m_path, ENOENT);
    }
    m_id = FileId(*status);
}

WorkFolder::~WorkFolder() {
    remove();
}

void WorkFolder::remove() {
    if (!m_lock.isOpen()) {
        return;
    }
    try {
        removeTree(m_path);
    } catch (const AppError&) {
        // The next run at this place tries again.
    }
    m_lock.reset();
}

} // namespace orvanel
