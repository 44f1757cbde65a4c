#include "backup/Recovery.h"

#include "backup/FileSystem.h"
#include "backup/SafePaths.h"
#include "backup/Swap.h"
#include "backup/WorkFolder.h"

#include <QDebug>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

const std::string noteName = "restoring";

std::string nameAt(const QString& path) {
    return QFile::encodeName(nameOf(path)).toStdString();
}

bool isThere(int folder, const std::string& name) {
    struct stat status {};
    return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 || errno != ENOENT;
}

/// Throws a file error if that cannot be found out.
bool isKept(const QString& kept) {
    struct stat status {};
    if (::lstat(QFile::encodeName(kept).constData(), &status) == 0) {
        return S_ISDIR(status.st_mode);
    }
    if (errno != ENOENT && errno != ENOTDIR) {
        throw fileError(kept, errno);
    }
    return false;
}

void giveBack(const QString& kept, const QString& place, const QString& backupsDir) {
    // An empty folder in its place was made by a program that did not find it. Anything else is left alone.
    ::rmdir(QFile::encodeName(place).constData());
    if (!statusOf(place)) {
        moveTo(kept, place);
        return;
    }
    const QString when = nameOf(kept).mid(keptPrefix.size());
    moveTo(kept, freeName(backupsDir + u"/before-interrupted-restore-"_s + when));
}

/// Deals with the restore that a crashed run noted in the open work folder `work`. If that run ended between the two
/// steps, the previous data comes back from `backupsDir` to `place`, where the data folder belongs, provided that
/// nothing or only an empty folder is there. If something else is there, the previous data stays among the backups,
/// under a name that no later restore deletes. Throws a file error if that cannot be found out or done now; the note is
/// then still there.
void finishRestore(int work, const QString& place, const QString& backupsDir) {
    const auto text = readNote(work, noteName);
    if (!text) {
        return;
    }
    const auto slash = text->find('/');
    if (slash != std::string::npos) {
        const QString name = QFile::decodeName(text->substr(slash + 1).c_str());
        const QString kept = backupsDir + u'/' + name;
        const bool isOurName = name.startsWith(keptPrefix) && !name.contains(u'/');
        // When the fresh data has left the work folder, it has become the data folder: the restore was complete.
        const bool isDone = !isThere(work, text->substr(0, slash)) && statusOf(place);
        if (isOurName && isKept(kept) && !isDone) {
            giveBack(kept, place, backupsDir);
        }
    }
    ::unlinkat(work, noteName.c_str(), 0);
}

} // namespace

void noteRestore(const WorkFolder& work, const QString& fresh, const QString& kept) {
    const int code = writeNote(work.descriptor(), noteName, nameAt(fresh) + "/" + nameAt(kept));
    if (code != 0) {
        throw fileError(work.path(), code);
    }
}

void forgetRestore(const WorkFolder& work) {
    ::unlinkat(work.descriptor(), noteName.c_str(), 0);
}

bool hasRestoreNote(int work) {
    try {
        return readNote(work, noteName).has_value();
    } catch (const AppError&) {
        return true;
    }
}

bool isRestorePending(const QString& parent, const QString& own) {
    const auto leftovers = leftoversIn(parent, WorkFolder::hidden);
    return std::any_of(leftovers.begin(), leftovers.end(), [&](const Leftover& leftover) {
        return leftover.path != own && hasRestoreNote(leftover.folder.get());
    });
}

void recoverData(const QString& dataDir, const QString& backupsDir) {
    QString place;
    try {
        place = dataPlaceOf(dataDir);
    } catch (const AppError&) {
        // Without a folder for the data folder, no restore can have begun.
        return;
    }
    const QString parent = parentOf(place);
    const FileDescriptor above(::open(QFile::encodeName(parent).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (const Leftover& leftover : leftoversIn(parent, WorkFolder::hidden)) {
        try {
            undoSwap(leftover.folder.get(), above.get());
            finishRestore(leftover.folder.get(), place, backupsDir);
        } catch (const AppError& error) {
            // The note is still there, so the next start tries again. Meanwhile another note may tell where the data
            // is.
            qWarning() << "The data that an interrupted restore moved away cannot be put back yet:" << error.message();
        }
    }
}

} // namespace orvanel
