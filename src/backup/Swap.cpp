#include "backup/Swap.h"

#include "backup/FileError.h"
#include "backup/Folder.h"
#include "backup/SafePaths.h"
#include "backup/WorkFolder.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvanel {
namespace {

/// A folder can only get another parent when its owner may write into it. Gives that right while it lives, to the
/// folder that had not got it, wherever that is by then.
class Movable {
public:
    explicit Movable(const QString& path)
        : m_folder(openFolder(AT_FDCWD, QFile::encodeName(path).toStdString())) {
        struct stat status {};
        constexpr mode_t permissions = S_IRWXU | S_IRWXG | S_IRWXO;
        if (m_folder.isOpen() && ::fstat(m_folder.get(), &status) == 0 && (status.st_mode & S_IWUSR) == 0) {
            m_mode = status.st_mode & permissions;
            m_isChanged = ::fchmod(m_folder.get(), m_mode | S_IWUSR) == 0;
        }
    }
    ~Movable() {
        if (m_isChanged) {
            ::fchmod(m_folder.get(), m_mode);
        }
    }
    Movable(const Movable&) = delete;
    Movable& operator=(const Movable&) = delete;

private:
    FileDescriptor m_folder;
    mode_t m_mode = 0;
    bool m_isChanged = false;
};

/// 0, or errno.
int rename(const QString& from, const QString& to, unsigned flags) {
    const Movable first(from);
    const Movable second(to);
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    if (::renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), flags) == 0) {
        return 0;
    }
    return errno;
}

bool isUnknownFlag(int code) {
    return code == EINVAL || code == ENOSYS || code == EOPNOTSUPP;
}

int renameToNothing(const QString& from, const QString& to) {
    const int code = rename(from, to, RENAME_NOREPLACE);
    if (!isUnknownFlag(code)) {
        return code;
    }
    return statusOf(to) ? EEXIST : rename(from, to, 0);
}

void syncFolder(const QString& path) {
    const FileDescriptor folder(::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot; they keep their names safe otherwise or not at all.
    if (folder.isOpen()) {
        ::fsync(folder.get());
    }
}

int replaceInTwoSteps(const QString& fresh, const QString& destination, const WorkFolder& work) {
    if (::mkdir(QFile::encodeName(work.replaced()).constData(), S_IRWXU) != 0 && errno != EEXIST) {
        return errno;
    }
    const QString old = work.replaced() + u'/' + nameOf(destination);
    int code = renameToNothing(destination, old);
    if (code != 0) {
        return code;
    }
    syncFolder(work.replaced());
    code = renameToNothing(fresh, destination);
    if (code != 0) {
        renameToNothing(old, destination);
        return code;
    }
    // From here on it is not to be put back: it is about to be deleted, piece by piece.
    syncFolder(parentOf(destination));
    renameToNothing(old, work.path(QStringLiteral("old")));
    return 0;
}

int replace(const QString& fresh, const QString& destination, const WorkFolder& work) {
    const int code = rename(fresh, destination, RENAME_EXCHANGE);
    if (code == ENOENT) {
        return renameToNothing(fresh, destination);
    }
    if (!isUnknownFlag(code)) {
        return code;
    }
    if (!isFolder(fresh) && !isFolder(destination)) {
        return rename(fresh, destination, 0);
    }
    return replaceInTwoSteps(fresh, destination, work);
}

} // namespace

void syncFileSystem(const QString& path) {
    const FileDescriptor file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen() || ::syncfs(file.get()) != 0) {
        throw fileError(path, errno);
    }
}

void moveTo(const QString& from, const QString& to) {
    const int code = renameToNothing(from, to);
    if (code != 0) {
        throw fileError(code == EEXIST || code == ENOTEMPTY ? to : from, code);
    }
    syncFolder(parentOf(to));
    syncFolder(parentOf(from));
}

void putInPlace(const QString& fresh, const QString& destination, const WorkFolder& work) {
    const int code = replace(fresh, destination, work);
    if (code != 0) {
        throw fileError(destination, code);
    }
    syncFolder(parentOf(destination));
    syncFolder(work.path());
}

} // namespace orvanel
