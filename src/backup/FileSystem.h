#pragma once

#include "process/AppError.h"
#include "process/FileDescriptor.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <string>
#include <sys/stat.h>
#include <vector>

/// The file system calls that backups are made of, and their errors. They block and may be called from any thread.
namespace orvanel {

/// The error of a failed call in the platform's words: "PATH: No space left on device". `code` is its errno. Where the
/// headers of this folder say "Throws a file error", they mean this one.
AppError fileError(const QString& path, int code);
AppError fileError(const std::string& path, int code);

/// A path that is safe to show: control characters, which a stranger's archive may contain, are replaced.
QString shownPath(const QString& path);
QString shownPath(const std::string& path);

/// Identifies a file or folder, whatever its name and path.
struct FileId {
    dev_t device = 0;
    ino_t inode = 0;

    FileId() = default;
    explicit FileId(const struct stat& status)
        : device(status.st_dev)
        , inode(status.st_ino) {}

    auto operator<=>(const FileId&) const = default;
};

/// Opens the folder `name` in the folder `parent` (AT_FDCWD if `name` is a path) to read its entries. A link at the end
/// of the path is not followed. On failure, returns a closed descriptor and sets errno.
FileDescriptor openFolder(int parent, const std::string& name);

/// The names in an open folder, in the order of the file system, without "." and "..". Throws a file error, which names
/// `path`.
std::vector<std::string> entriesOf(int folder, const std::string& path);

/// The status of what is at `path`; of a link, that of the link itself. None if nothing is there or it cannot be
/// reached.
std::optional<struct stat> statusOf(const QString& path);
bool isFolder(const QString& path);
/// Whether something is there, perhaps at the end of a link. Throws a file error when that cannot be told.
bool exists(const QString& path);

/// The names in a folder as text; empty if the folder cannot be listed.
QStringList namesIn(const QString& folder);

/// The folder that holds `place`, an absolute path without "." and "..", and its name there.
QString parentOf(const QString& place);
QString nameOf(const QString& place);

/// Returns `path`, or if something is there already, the first of "PATH-2", "PATH-3", … that is free.
QString freeName(const QString& path);

/// Makes a folder and the folders above it, unless it exists. Throws a file error.
void makeFolder(const QString& path);

/// Whether both paths lead to the same file or folder.
bool isSame(const QString& path, const QString& other);

/// A name in an open folder, or a path if the folder is AT_FDCWD.
struct NameIn {
    int folder;
    std::string name;
};

/// Renames as renameat2() does, and also moves folders that their owner may not write to. Returns 0 or errno.
int rename(const NameIn& from, const NameIn& to, unsigned flags);
int rename(const QString& from, const QString& to, unsigned flags);

/// Renames, unless something is at `to` (EEXIST), also on file systems that cannot check and rename in one step.
/// Returns 0 or errno.
int renameToNothing(const NameIn& from, const NameIn& to);
int renameToNothing(const QString& from, const QString& to);

/// Whether this errno of rename() means that the file system does not know the flag.
bool isUnknownFlag(int code);

/// Renames `from` to `to`, where nothing may be yet, and makes that survive a power cut. Both are on one file system.
/// Throws a file error.
void moveTo(const QString& from, const QString& to);

/// Does the same, but returns false if no rename is possible: a quota or a layered file system may forbid it even
/// within one mount.
bool moveIfPossible(const QString& from, const QString& to);

/// Makes the names in a folder survive a power cut, where the file system can do that.
void syncFolder(const QString& path);

/// Makes everything written so far to the file system that holds `path` survive a power cut. Whatever replaces
/// something must be on the disk before the old thing is deleted. Throws a file error, also for earlier writes that
/// failed.
void syncFileSystem(const QString& path);

} // namespace orvanel
