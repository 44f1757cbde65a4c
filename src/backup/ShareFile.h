#pragma once

#include "backup/CopyFile.h"
#include "backup/FileSystem.h"

#include <atomic>
#include <mutex>
#include <set>

namespace orvanel {

/// What has been shared in one run, and whether the disk can.
struct Sharing {
    std::atomic<bool> link{true};
    std::mutex mutex;
    std::set<FileId> used;
};

/// Instead of copying the file: gives the one of the same name in `earlier`, an open folder of an earlier copy (or
/// negative for none), a second name in `copy.to`. False when that cannot be, and nothing was done.
///
/// Such a file is one with two names from then on, so it must never be written to in place, by nobody. It is shared
/// only when its size, permissions, date and, byte by byte, its content are those of the file that is copied: whatever
/// was done to the earlier copy does not get into the new one. A database is never shared, since looking at one may
/// change it; nor is one file shared under two names of the same copy, since what is restored from it would be one
/// file as well. Any thread.
bool shareFile(const FileCopy& copy, int earlier, Sharing& sharing);

} // namespace orvanel
