#include "backup/Note.h"

#include "backup/FileError.h"
#include "process/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvanel {

int writeNote(int folder, const std::string& name, const std::string& text) {
    constexpr mode_t own = S_IRUSR | S_IWUSR;
    const FileDescriptor file(
        ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, own));
    if (!file.isOpen()) {
        return errno;
    }
    const ssize_t written = ::pwrite(file.get(), text.data(), text.size(), 0);
    if (written < 0) {
        return errno;
    }
    if (static_cast<std::size_t>(written) != text.size()) {
        return ENOSPC;
    }
    // The name counts as well; a file system that cannot sync a folder keeps it otherwise or not at all.
    ::fsync(folder);
    return ::fsync(file.get()) == 0 ? 0 : errno;
}

std::optional<std::string> readNote(int folder, const std::string& name) {
    const FileDescriptor file(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen() && errno == ENOENT) {
        return std::nullopt;
    }
    if (!file.isOpen() && errno == ELOOP) {
        return "";
    }
    if (!file.isOpen()) {
        throw fileError(name, errno);
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) {
        return "";
    }
    std::array<char, 1024> words{};
    const ssize_t length = ::pread(file.get(), words.data(), words.size(), 0);
    if (length < 0) {
        throw fileError(name, errno);
    }
    return std::string(words.data(), static_cast<std::size_t>(length));
}

} // namespace orvanel
