#include "backup/ShareFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/xattr.h>
#include <unistd.h>

namespace orvanel {
namespace {

constexpr mode_t permissions = S_IRWXU | S_IRWXG | S_IRWXO;

FileDescriptor openFile(int folder, const std::string& name) {
    return FileDescriptor(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

bool isSameTime(const timespec& time, const timespec& other) {
    return time.tv_sec == other.tv_sec && time.tv_nsec == other.tv_nsec;
}

/// Both names would have the same permissions, dates and owner from then on. Empty files take no room.
bool isSameFromOutside(const struct stat& source, const struct stat& earlier) {
    return S_ISREG(source.st_mode) && S_ISREG(earlier.st_mode) && source.st_size > 0 &&
           source.st_size == earlier.st_size && (source.st_mode & permissions) == (earlier.st_mode & permissions) &&
           isSameTime(source.st_mtim, earlier.st_mtim) && earlier.st_uid == ::geteuid();
}

/// The user's attributes of a file are copied with it; files that have any are not shared.
bool hasAttributes(int file) {
    return ::flistxattr(file, nullptr, 0) > 0;
}

bool isDatabaseLog(std::string_view name) {
    constexpr std::array endings{std::string_view("-wal"), std::string_view("-shm"), std::string_view("-journal")};
    return std::any_of(endings.begin(), endings.end(), [&](std::string_view ending) { return name.ends_with(ending); });
}

bool isDatabaseHeader(const char* block, std::size_t length) {
    constexpr std::string_view header("SQLite format 3\0", 16);
    return length >= header.size() && std::string_view(block, header.size()) == header;
}

/// Fills `block` as far as the file goes. Negative when it cannot be read.
ssize_t readBlock(int file, char* block, std::size_t size, off_t offset) {
    std::size_t filled = 0;
    while (filled < size) {
        const ssize_t length = ::pread(file, block + filled, size - filled, offset + static_cast<off_t>(filled));
        if (length < 0) {
            return -1;
        }
        if (length == 0) {
            break;
        }
        filled += static_cast<std::size_t>(length);
    }
    return static_cast<ssize_t>(filled);
}

/// Whether both hold the same `size` bytes, which are no database.
bool isSameContent(int source, int earlier, off_t size) {
    constexpr std::size_t blockSize = std::size_t{256} * 1024;
    thread_local const std::unique_ptr<char[]> first(new char[blockSize]);
    thread_local const std::unique_ptr<char[]> second(new char[blockSize]);
    for (off_t offset = 0; offset < size;) {
        const ssize_t length = readBlock(source, first.get(), blockSize, offset);
        if (length <= 0 || readBlock(earlier, second.get(), blockSize, offset) != length) {
            return false;
        }
        const auto bytes = static_cast<std::size_t>(length);
        if (std::memcmp(first.get(), second.get(), bytes) != 0 ||
            (offset == 0 && isDatabaseHeader(first.get(), bytes))) {
            return false;
        }
        offset += length;
    }
    return true;
}

/// Whether the file was written to since `before`, or is another one by now.
bool hasChanged(int file, const struct stat& before) {
    struct stat now {};
    return ::fstat(file, &now) != 0 || now.st_size != before.st_size || !isSameTime(now.st_mtim, before.st_mtim);
}

/// Whether no other name in the copy has this file yet.
bool takes(Sharing& sharing, const FileId& id) {
    const std::lock_guard lock(sharing.mutex);
    return sharing.used.insert(id).second;
}

} // namespace

bool shareFile(const FileCopy& copy, int earlier, Sharing& sharing) {
    if (earlier < 0 || !sharing.link || isDatabaseLog(copy.name)) {
        return false;
    }
    const FileDescriptor source = openFile(copy.from, copy.name);
    const FileDescriptor shared = openFile(earlier, copy.name);
    struct stat sourceStatus {};
    struct stat sharedStatus {};
    if (!source.isOpen() || !shared.isOpen() || ::fstat(source.get(), &sourceStatus) != 0 ||
        ::fstat(shared.get(), &sharedStatus) != 0 || !isSameFromOutside(sourceStatus, sharedStatus) ||
        hasAttributes(source.get()) || hasAttributes(shared.get())) {
        return false;
    }
    if (!isSameContent(source.get(), shared.get(), sourceStatus.st_size) || hasChanged(source.get(), sourceStatus) ||
        hasChanged(shared.get(), sharedStatus) || !takes(sharing, FileId(sharedStatus))) {
        return false;
    }
    const char* const name = copy.name.c_str();
    if (::linkat(earlier, name, copy.to, name, 0) != 0) {
        // Another disk, or one without links. A file that has too many names already says nothing of the next one.
        sharing.link = errno == EMLINK || errno == ENOENT;
        return false;
    }
    // The name may have got another file since it was opened.
    struct stat status {};
    if (::fstatat(copy.to, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && FileId(status) == FileId(sharedStatus)) {
        return true;
    }
    ::unlinkat(copy.to, name, 0);
    return false;
}

} // namespace orvanel
