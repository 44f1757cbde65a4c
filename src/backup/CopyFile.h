#pragma once

#include <atomic>
#include <string>
#include <sys/stat.h>

namespace orvanel {

/// What copies of one run have learnt of the file systems between which they go, so that each asks once only.
struct CopyMeans {
    std::atomic<bool> clone{true};
    std::atomic<bool> attributes{true};
};

/// Copies one regular file from `name` in the open folder `from` to a new file of that name in `to`, with its
/// permissions (without set-uid and set-gid: data holds no programs), dates, holes and user attributes. Copies as much
/// as the file holds when it is opened. The paths of the two folders are for errors only.
///
/// False when there is no regular file of that name (any more); never waits for one that is a pipe. Throws what the
/// platform says. Any thread.
struct FileCopy {
    int from;
    int to;
    std::string name;
    const std::string& fromPath;
    const std::string& toPath;
};
bool copyFile(const FileCopy& copy, CopyMeans& means);

/// Gives `name` in the open folder `folder` these permissions and dates. A file system that keeps none is fine.
void copyProperties(int folder, const std::string& name, const struct stat& status);

} // namespace orvanel
