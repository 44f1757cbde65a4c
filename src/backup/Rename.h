#pragma once

#include <string>

namespace orvanel {

/// A name in an open folder, or with AT_FDCWD a path.
struct Place {
    int folder;
    std::string name;
};

/// Renames as renameat2() does, also a folder into which its owner may not write. 0, or errno. Any thread.
int rename(const Place& from, const Place& to, unsigned flags);

/// Renames to where nothing may be yet, EEXIST, also on a file system that cannot look and rename in one step.
int renameToNothing(const Place& from, const Place& to);

/// Whether that errno of rename() says that the file system knows no such flag.
bool isUnknownFlag(int code);

} // namespace orvanel
