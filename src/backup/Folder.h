#pragma once

#include "process/FileDescriptor.h"

#include <QString>

#include <optional>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace orvanel {

/// Which file or folder this is, whatever its name and however one came to it.
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

/// The names in an open folder, in the order of the file system, without "." and "..". Throws with errno's text; `path`
/// is only for that.
std::vector<std::string> entriesOf(int folder, const std::string& path);

/// The status of what is at `path` itself, also when that is a link; none when nothing is there or it cannot be
/// reached.
std::optional<struct stat> statusOf(const QString& path);
bool isFolder(const QString& path);

/// The names in a folder as text; none when it cannot be listed.
QStringList namesIn(const QString& folder);

} // namespace orvanel
