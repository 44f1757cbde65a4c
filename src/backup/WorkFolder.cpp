#include "backup/WorkFolder.h"

#include "backup/FileError.h"
#include "backup/Leftover.h"
#include "backup/RemoveTree.h"
#include "backup/RestoreNote.h"
#include "backup/SwapNote.h"

#include <QFile>
#include <QUuid>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvanel {
namespace {

QString uuidText() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

/// Removes what a crashed run left. Only a work folder of a swap has taken something away: in one that an archive was
/// unpacked to, a stranger may have laid whatever looks like it.
void removeLeftover(const Leftover& leftover, const QString& parent, bool mayHaveSwapped) {
    const FileDescriptor above(::open(QFile::encodeName(parent).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const int folder = leftover.folder.get();
    if (mayHaveSwapped && (hasRestoreNote(folder) || !above.isOpen() || !undoSwap(folder, above.get()))) {
        return;
    }
    try {
        removeTree(leftover.path);
    } catch (const AppError&) {
        // Perhaps next time; it is in nobody's way.
        return;
    }
}

} // namespace

void WorkFolder::removeLeftovers(const QString& parent, const QString& prefix) {
    for (const Leftover& leftover : leftoversIn(parent, prefix)) {
        removeLeftover(leftover, parent, prefix == hidden);
    }
}

WorkFolder::WorkFolder(const QString& parent, const QString& prefix) {
    removeLeftovers(parent, prefix);
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

bool WorkFolder::holdsLinks() const {
    const char* const name = "link";
    if (::symlinkat("nowhere", m_lock.get(), name) != 0) {
        // What fails for another reason, as on a full disk, says nothing of that.
        return errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS;
    }
    ::unlinkat(m_lock.get(), name, 0);
    return true;
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
