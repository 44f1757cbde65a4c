#pragma once

#include "process/AppError.h"
#include "process/FileDescriptor.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <string>
#include <sys/stat.h>
#include <vector>

/// The calls of the file system that backups are made of, with what they fail with. They block; any thread.
namespace orvanel {

/// What the platform says of a failed call: "PATH: No space left on device". `code` is its errno.
AppError fileError(const QString& path, int code);
AppError fileError(const std::string& path, int code);

/// A path as it can be shown: control characters, which a stranger's archive may bring, are replaced.
QString shownPath(const QString& path);
QString shownPath(const std::string& path);

/// Which file or folder this is, whatever its name and path.
struct FileId {
    dev_t device = 0;
    ino_t inode = 0;

    FileId() = default;
    explicit FileId(const struct stat& status)
        : device(status.st_dev)
        , inode(status.st_ino) {}

    auto operator<=>(const FileId&) const = default;
};

/// Opens `name` in the folder `parent` (AT_FDCWD for a path) to read its entries; never through a link at its end.
/// A closed descriptor and errno when that fails.
FileDescriptor openFolder(int parent, const std::string& name);

/// The names in an open folder, in the order of the file system, without "." and "..". Throws what the platform says;
/// `path` is only for that.
std::vector<std::string> entriesOf(int folder, const std::string& path);

/// The status of what is at `path` itself, also when that is a link; none when nothing is there or it cannot be
/// reached.
std::optional<struct stat> statusOf(const QString& path);
bool isFolder(const QString& path);

/// The names in a folder as text; none when it cannot be listed.
QStringList namesIn(const QString& folder);

/// The folder that holds `place`, an absolute path without "." and "..", and its name there.
QString parentOf(const QString& place);
QString nameOf(const QString& place);

/// `path`, or when something is there already, the first of "PATH-2", "PATH-3", … where nothing is.
QString freeName(const QString& path);

/// Makes a folder with the folders above it, unless it is there. Throws what the platform says.
void makeFolder(const QString& path);

/// Whether both are the same file or folder, by whatever names.
bool isSame(const QString& path, const QString& other);

/// A name in an open folder, or with AT_FDCWD a path.
struct NameIn {
    int folder;
    std::string name;
};

/// Renames as renameat2() does, also a folder into which its owner may not write. 0, or errno.
int rename(const NameIn& from, const NameIn& to, unsigned flags);
int rename(const QString& from, const QString& to, unsigned flags);

/// Renames to where nothing may be yet, EEXIST, also on a file system that cannot look and rename in one step.
int renameToNothing(const NameIn& from, const NameIn& to);
int renameToNothing(const QString& from, const QString& to);

/// Whether that errno of rename() says that the file system knows no such flag.
bool isUnknownFlag(int code);

/// Renames `from` to `to`, where nothing may be yet, and makes that safe from a power cut. Both lie on one file system.
void moveTo(const QString& from, const QString& to);

/// The same, but false when no rename leads there: a quota or a layered file system may forbid it within one mount too.
bool moveIfPossible(const QString& from, const QString& to);

/// Makes the names in a folder safe from a power cut, where the file system can.
void syncFolder(const QString& path);

/// Makes everything written so far to the file system that holds `path` safe from a power cut. What replaces something
/// must be on the disk before the something is deleted. Throws what the platform says, also of earlier writes that
/// failed.
void syncFileSystem(const QString& path);

} // namespace orvanel
