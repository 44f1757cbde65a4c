#include "backup/Swap.h"

#include "backup/FileError.h"
#include "backup/Folder.h"
#include "backup/Rename.h"
#include "backup/SafePaths.h"
#include "backup/SwapNote.h"
#include "backup/WorkFolder.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

Place placeAt(const QString& path) {
    return {AT_FDCWD, QFile::encodeName(path).toStdString()};
}

int renameToNothing(const QString& from, const QString& to) {
    return renameToNothing(placeAt(from), placeAt(to));
}

void syncFolder(const QString& path) {
    const FileDescriptor folder(::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot; they keep their names safe otherwise or not at all.
    if (folder.isOpen()) {
        ::fsync(folder.get());
    }
}

int replaceInTwoSteps(const QString& fresh, const QString& destination, WorkFolder& work) {
    if (::mkdir(QFile::encodeName(work.replaced()).constData(), S_IRWXU) != 0 && errno != EEXIST) {
        return errno;
    }
    const QString old = work.replaced() + u'/' + nameOf(destination);
    const auto nameAt = [](const QString& path) { return QFile::encodeName(nameOf(path)).toStdString(); };
    int code = writeSwapNote(work.descriptor(), {nameAt(fresh), nameAt(destination)});
    if (code != 0) {
        return code;
    }
    code = renameToNothing(destination, old);
    if (code != 0) {
        return code;
    }
    syncFolder(work.replaced());
    code = renameToNothing(fresh, destination);
    if (code != 0) {
        if (renameToNothing(old, destination) != 0) {
            work.keep();
            throw AppError(u"%1. What was there is now in %2"_s.arg(fileError(destination, code).message(),
                                                                    shownPath(work.replaced())));
        }
        return code;
    }
    // From here on it is not to be put back: it is about to be deleted, piece by piece.
    syncFolder(parentOf(destination));
    renameToNothing(old, work.path(u"old"_s));
    return 0;
}

int replace(const QString& fresh, const QString& destination, WorkFolder& work) {
    const int code = rename(placeAt(fresh), placeAt(destination), RENAME_EXCHANGE);
    if (code == ENOENT || (isUnknownFlag(code) && !statusOf(destination))) {
        return renameToNothing(fresh, destination);
    }
    if (!isUnknownFlag(code)) {
        return code;
    }
    if (!isFolder(fresh) && !isFolder(destination)) {
        return rename(placeAt(fresh), placeAt(destination), 0);
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
    if (!moveIfPossible(from, to)) {
        throw fileError(from, EXDEV);
    }
}

bool moveIfPossible(const QString& from, const QString& to) {
    const int code = renameToNothing(from, to);
    if (code == EXDEV) {
        return false;
    }
    if (code != 0) {
        throw fileError(code == EEXIST || code == ENOTEMPTY ? to : from, code);
    }
    syncFolder(parentOf(to));
    syncFolder(parentOf(from));
    return true;
}

void putInPlace(const QString& fresh, const QString& destination, WorkFolder& work) {
    const int code = replace(fresh, destination, work);
    if (code != 0) {
        throw fileError(destination, code);
    }
    syncFolder(parentOf(destination));
    syncFolder(work.path());
}

} // namespace orvanel
