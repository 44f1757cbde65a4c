#include "backup/CopyFile.h"

#include "backup/FileSystem.h"
#include "process/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <memory>
#include <sys/ioctl.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace orvanel {
namespace {

constexpr mode_t permissions = S_IRWXU | S_IRWXG | S_IRWXO;
constexpr std::size_t blockSize = std::size_t{256} * 1024;
/// Up to this size, one read and one write are faster than a copy by the kernel.
constexpr off_t smallFile = blockSize;

class Copier {
public:
    Copier(const FileCopy& copy, const FileDescriptor& source, const FileDescriptor& target)
        : m_copy(copy)
        , m_source(source.get())
        , m_target(target.get()) {}

    void content(const struct stat& status, CopyMeans& means) {
        if (status.st_size == 0) {
            return;
        }
        if (means.clone && ::ioctl(m_target, FICLONE, m_source) == 0) {
            return;
        }
        // These two file systems cannot share blocks, so the next file need not be tried.
        means.clone = false;
        constexpr blkcnt_t unit = 512;
        if (status.st_blocks * unit < status.st_size && copyExtents(status.st_size)) {
            return;
        }
        copyRange(0, status.st_size);
    }

    void attributes(CopyMeans& means) {
        std::array<char, 1024> few{};
        ssize_t size = ::flistxattr(m_source, few.data(), few.size());
        std::vector<char> many;
        if (size < 0 && errno == ERANGE) {
            many.resize(65536);
            size = ::flistxattr(m_source, many.data(), many.size());
        }
        if (size < 0) {
            means.attributes = means.attributes && errno != ENOTSUP;
            return;
        }
        const char* const names = many.empty() ? few.data() : many.data();
        for (const char* name = names; name < names + size; name += std::char_traits<char>::length(name) + 1) {
            if (std::string_view(name).starts_with("user.")) {
                copyAttribute(name);
            }
        }
    }

private:
    [[noreturn]] void failReading() const { throw fileError(m_copy.fromPath + "/" + m_copy.name, errno); }
    [[noreturn]] void failWriting() const { throw fileError(m_copy.toPath + "/" + m_copy.name, errno); }

    /// Copies the parts between the holes; false when the file system does not report holes.
    bool copyExtents(off_t size) {
        off_t data = ::lseek(m_source, 0, SEEK_DATA);
        if (data < 0 && errno != ENXIO) {
            return false;
        }
        while (data >= 0 && data < size) {
            const off_t hole = ::lseek(m_source, data, SEEK_HOLE);
            const off_t end = hole < 0 ? size : std::min(hole, size);
            copyRange(data, end);
            data = ::lseek(m_source, end, SEEK_DATA);
        }
        // ENXIO means that only a hole is left; anything else is a read error.
        if (data < 0 && errno != ENXIO) {
            failReading();
        }
        if (::ftruncate(m_target, size) != 0) {
            failWriting();
        }
        return true;
    }

    void copyRange(off_t offset, off_t end) {
        bool inKernel = end - offset > smallFile;
        while (offset < end) {
            const ssize_t copied = inKernel ? copyInKernel(offset, end) : copyBlock(offset, end);
            if (copied > 0) {
                offset += copied;
            } else if (inKernel) {
                inKernel = false;
            } else {
                return;
            }
        }
    }

    /// Bytes copied; 0 where the kernel cannot copy, which depends on its version and the file systems.
    ssize_t copyInKernel(off_t offset, off_t end) {
        constexpr off_t most = off_t{64} * 1024 * 1024;
        off_t to = offset;
        const auto length = static_cast<std::size_t>(std::min(end - offset, most));
        const ssize_t copied = ::copy_file_range(m_source, &offset, m_target, &to, length, 0);
        if (copied < 0 && (errno == ENOSPC || errno == EDQUOT || errno == EFBIG)) {
            failWriting();
        }
        return std::max<ssize_t>(copied, 0);
    }

    /// Bytes copied; 0 at the end of the file.
    ssize_t copyBlock(off_t offset, off_t end) {
        thread_local const std::unique_ptr<char[]> block(new char[blockSize]);
        const auto wanted = static_cast<std::size_t>(std::min(end - offset, off_t{blockSize}));
        const ssize_t length = ::pread(m_source, block.get(), wanted, offset);
        if (length < 0) {
            failReading();
        }
        ssize_t written = 0;
        while (written < length) {
            const auto rest = static_cast<std::size_t>(length - written);
            const ssize_t count = ::pwrite(m_target, block.get() + written, rest, offset + written);
            if (count < 0) {
                failWriting();
            }
            written += count;
        }
        return length;
    }

    void copyAttribute(const char* name) const {
        std::vector<char> value(65536);
        const ssize_t size = ::fgetxattr(m_source, name, value.data(), value.size());
        if (size >= 0) {
            // Attributes are extras: a file system that does not take them still holds all the data.
            ::fsetxattr(m_target, name, value.data(), static_cast<std::size_t>(size), 0);
        }
    }

    const FileCopy& m_copy;
    int m_source;
    int m_target;
};

/// Throws when a call failed, unless the file system simply does not support permissions or dates.
void requireKept(int result, const std::string& path) {
    const bool isRefusal = errno == EPERM || errno == EOPNOTSUPP || errno == ENOSYS || errno == EINVAL;
    if (result != 0 && !isRefusal) {
        throw fileError(path, errno);
    }
}

} // namespace

bool copyFile(const FileCopy& copy, CopyMeans& means) {
    const char* const name = copy.name.c_str();
    const FileDescriptor source(::openat(copy.from, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!source.isOpen()) {
        if (errno == ENOENT || errno == ELOOP || errno == ENXIO) {
            return false;
        }
        throw fileError(copy.fromPath + "/" + copy.name, errno);
    }
    struct stat status {};
    if (::fstat(source.get(), &status) != 0) {
        throw fileError(copy.fromPath + "/" + copy.name, errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return false;
    }
    constexpr mode_t own = S_IRUSR | S_IWUSR;
    FileDescriptor target(::openat(copy.to, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, own));
    if (!target.isOpen()) {
        throw fileError(copy.toPath + "/" + copy.name, errno);
    }
    Copier copier(copy, source, target);
    copier.content(status, means);
    if (means.attributes) {
        copier.attributes(means);
    }
    const std::string path = copy.toPath + "/" + copy.name;
    const timespec times[] = {status.st_atim, status.st_mtim};
    requireKept(::fchmod(target.get(), status.st_mode & permissions), path);
    requireKept(::futimens(target.get(), times), path);
    // Network file systems may report a failed upload or a full quota only on close.
    if (::close(target.release()) != 0) {
        throw fileError(path, errno);
    }
    return true;
}

void copyProperties(int folder, const std::string& name, const struct stat& status) {
    const timespec times[] = {status.st_atim, status.st_mtim};
    if (!S_ISLNK(status.st_mode)) {
        requireKept(::fchmodat(folder, name.c_str(), status.st_mode & permissions, 0), name);
    }
    requireKept(::utimensat(folder, name.c_str(), times, AT_SYMLINK_NOFOLLOW), name);
}

} // namespace orvanel
