#include "backup/Swap.h"

#include "backup/FileSystem.h"
#include "backup/SafePaths.h"
#include "backup/WorkFolder.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// What a swap in two steps writes into its work folder before the first step, so that a later run can undo it. The
/// first step moves `name`, in the folder that holds the work folder, into the work folder's "replaced"; the second
/// puts `fresh`, in the work folder, in its place.
struct SwapNote {
    std::string fresh;
    std::string name;
};

const std::string noteName = "swapping";
const std::string replacedName = "replaced";

/// A name that contains a NUL is refused, because the system would read only what is before it.
bool isPlainName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

/// The two names are separated by a slash, which no name can contain.
std::optional<SwapNote> parse(const std::string& text) {
    const auto slash = text.find('/');
    if (slash == std::string::npos) {
        return std::nullopt;
    }
    SwapNote note{text.substr(0, slash), text.substr(slash + 1)};
    return isPlainName(note.fresh) && isPlainName(note.name) ? std::optional(std::move(note)) : std::nullopt;
}

/// Returns 0 if it exists and ENOENT if it does not. With any other error, that is not known.
int lookFor(int folder, const std::string& name) {
    struct stat status {};
    return ::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

bool isEmpty(int folder) {
    try {
        return entriesOf(folder, {}).empty();
    } catch (const AppError&) {
        return false;
    }
}

bool moveBack(int replaced, const std::string& name, int parent) {
    constexpr int lastNumber = 1000;
    int code = renameToNothing({replaced, name}, {parent, name});
    for (int number = 2; number <= lastNumber && (code == EEXIST || code == ENOTEMPTY); ++number) {
        code = renameToNothing({replaced, name}, {parent, name + "-" + std::to_string(number)});
    }
    ::fsync(parent);
    ::fsync(replaced);
    return code == 0;
}

int replaceInTwoSteps(const QString& fresh, const QString& destination, WorkFolder& work) {
    if (::mkdir(QFile::encodeName(work.replaced()).constData(), S_IRWXU) != 0 && errno != EEXIST) {
        return errno;
    }
    const QString old = work.replaced() + u'/' + nameOf(destination);
    const auto nameAt = [](const QString& path) { return QFile::encodeName(nameOf(path)).toStdString(); };
    int code = writeNote(work.descriptor(), noteName, nameAt(fresh) + "/" + nameAt(destination));
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
            throw AppError(u"%1. The previous content is now in %2"_s.arg(fileError(destination, code).message(),
                                                                          shownPath(work.replaced())));
        }
        return code;
    }
    // Once it has left "replaced", a crash no longer brings the old content back: it is about to be deleted.
    syncFolder(parentOf(destination));
    renameToNothing(old, work.path(u"old"_s));
    return 0;
}

int replace(const QString& fresh, const QString& destination, WorkFolder& work) {
    const int code = rename(fresh, destination, RENAME_EXCHANGE);
    if (code == ENOENT || (isUnknownFlag(code) && !statusOf(destination))) {
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

void putInPlace(const QString& fresh, const QString& destination, WorkFolder& work) {
    const int code = replace(fresh, destination, work);
    if (code != 0) {
        throw fileError(destination, code);
    }
    syncFolder(parentOf(destination));
    syncFolder(work.path());
}

bool undoSwap(int work, int parent) {
    std::optional<std::string> text;
    try {
        text = readNote(work, noteName);
    } catch (const AppError&) {
        return false;
    }
    if (!text) {
        return true;
    }
    const FileDescriptor replaced = openFolder(work, replacedName);
    if (!replaced.isOpen()) {
        return errno == ENOENT || errno == ELOOP || errno == ENOTDIR;
    }
    const auto note = parse(*text);
    if (!note) {
        return isEmpty(replaced.get());
    }
    if (lookFor(replaced.get(), note->name) == ENOENT) {
        return true;
    }
    // An empty folder in its place was made by a program that did not find it. Anything else is left alone.
    ::unlinkat(parent, note->name.c_str(), AT_REMOVEDIR);
    // When the fresh content has left the work folder, it has its place: the swap was complete.
    const bool isDone = lookFor(work, note->fresh) == ENOENT && lookFor(parent, note->name) == 0;
    return isDone || moveBack(replaced.get(), note->name, parent);
}

} // namespace orvanel
