#include "backup/SwapNote.h"

#include "backup/Folder.h"
#include "backup/Note.h"
#include "backup/Rename.h"
#include "process/AppError.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

namespace orvanel {
namespace {

const std::string noteName = "swapping";
const std::string replacedName = "replaced";

/// What the system would read as another name, because it ends at the first NUL, is none.
bool isPlainName(const std::string& name) {
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

/// The two names are told apart by what no name can hold.
std::optional<SwapNote> parse(const std::string& text) {
    const auto slash = text.find('/');
    if (slash == std::string::npos) {
        return std::nullopt;
    }
    SwapNote note{text.substr(0, slash), text.substr(slash + 1)};
    return isPlainName(note.fresh) && isPlainName(note.name) ? std::optional(std::move(note)) : std::nullopt;
}

/// 0 when it is there, ENOENT when it is not; anything else tells neither.
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

} // namespace

int writeSwapNote(int work, const SwapNote& note) {
    return writeNote(work, noteName, note.fresh + "/" + note.name);
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
    // An empty folder may have been made by whoever missed it. Any other is left alone.
    ::unlinkat(parent, note->name.c_str(), AT_REMOVEDIR);
    // What is no longer in the work folder got the place: what it replaced is not wanted any more.
    const bool isDone = lookFor(work, note->fresh) == ENOENT && lookFor(parent, note->name) == 0;
    return isDone || moveBack(replaced.get(), note->name, parent);
}

} // namespace orvanel
