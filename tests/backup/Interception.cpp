#include "Interception.h"

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <sys/types.h>
#include <system_error>
#include <unistd.h>

namespace {

void step() {
    auto& state = orvanel::test::interception();
    const int number = ++state.steps;
    if (number == state.killAt) {
        ::kill(::getpid(), SIGKILL);
        ::pause();
    }
    if (state.onStep) {
        state.onStep(number);
    }
}

std::string pathOf(int file) {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file), error).string();
}

} // namespace

orvanel::test::Interception& orvanel::test::interception() {
    static Interception state;
    return state;
}

// The linker redirects each call of NAME to __wrap_NAME, and calls of __real_NAME to the system's NAME.
#define INTERCEPT(name, parameters, arguments)                                                                         \
    int __real_##name parameters;                                                                                      \
    int __wrap_##name parameters {                                                                                     \
        step();                                                                                                        \
        return __real_##name arguments;                                                                                \
    }

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the linker's.
extern "C" {

INTERCEPT(mkdir, (const char* path, mode_t mode), (path, mode))
INTERCEPT(mkdirat, (int folder, const char* path, mode_t mode), (folder, path, mode))
INTERCEPT(linkat, (int from, const char* name, int to, const char* other, int flags), (from, name, to, other, flags))
INTERCEPT(unlink, (const char* path), (path))
INTERCEPT(unlinkat, (int folder, const char* path, int flags), (folder, path, flags))
INTERCEPT(rmdir, (const char* path), (path))
INTERCEPT(ftruncate, (int file, off_t size), (file, size))
INTERCEPT(utimensat, (int folder, const char* path, const timespec* times, int flags), (folder, path, times, flags))
INTERCEPT(futimens, (int file, const timespec* times), (file, times))

int __real_fchmod(int file, mode_t mode);
int __wrap_fchmod(int file, mode_t mode) {
    step();
    const auto& modeFailure = orvanel::test::interception().modeFailure;
    if (const int code = modeFailure ? modeFailure(pathOf(file)) : 0; code != 0) {
        errno = code;
        return -1;
    }
    return __real_fchmod(file, mode);
}

int __real_fchmodat(int folder, const char* path, mode_t mode, int flags);
int __wrap_fchmodat(int folder, const char* path, mode_t mode, int flags) {
    step();
    const auto& modeFailure = orvanel::test::interception().modeFailure;
    if (const int code = modeFailure ? modeFailure(pathOf(folder) + "/" + path) : 0; code != 0) {
        errno = code;
        return -1;
    }
    return __real_fchmodat(folder, path, mode, flags);
}

// A kill loses nothing that the kernel already has, so these calls are only counted, which spares a busy disk.
int __wrap_fsync(int) {
    step();
    return 0;
}

int __wrap_syncfs(int) {
    step();
    return 0;
}

int __real_openat(int folder, const char* path, int flags, ...);
int __wrap_openat(int folder, const char* path, int flags, ...) {
    std::va_list more;
    va_start(more, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(more, mode_t) : 0;
    va_end(more);
    if ((flags & O_CREAT) != 0) {
        step();
        if (const auto& beforeFile = orvanel::test::interception().beforeFile) {
            beforeFile(path);
        }
    } else if (const auto& openFailure = orvanel::test::interception().openFailure) {
        if (const int code = openFailure(path); code != 0) {
            errno = code;
            return -1;
        }
    }
    return __real_openat(folder, path, flags, mode);
}

ssize_t __real_pwrite(int file, const void* bytes, size_t size, off_t offset);
ssize_t __wrap_pwrite(int file, const void* bytes, size_t size, off_t offset) {
    step();
    const auto& writeFailure = orvanel::test::interception().writeFailure;
    if (const int code = writeFailure ? writeFailure(pathOf(file)) : 0; code != 0) {
        errno = code;
        return -1;
    }
    return __real_pwrite(file, bytes, size, offset);
}

int __real_symlinkat(const char* target, int folder, const char* path);
int __wrap_symlinkat(const char* target, int folder, const char* path) {
    step();
    const auto& isWithoutLinks = orvanel::test::interception().isWithoutLinks;
    if (isWithoutLinks && isWithoutLinks(pathOf(folder))) {
        errno = EPERM;
        return -1;
    }
    return __real_symlinkat(target, folder, path);
}

int __real_close(int file);
int __wrap_close(int file) {
    const auto& closeFailure = orvanel::test::interception().closeFailure;
    const int code = closeFailure ? closeFailure(pathOf(file)) : 0;
    const int result = __real_close(file);
    if (code != 0) {
        errno = code;
        return -1;
    }
    return result;
}

off_t __real_lseek(int file, off_t offset, int whence);
off_t __wrap_lseek(int file, off_t offset, int whence) {
    const auto& seekFailure = orvanel::test::interception().seekFailure;
    if (const int code = whence == SEEK_DATA && seekFailure ? seekFailure(offset) : 0; code != 0) {
        errno = code;
        return -1;
    }
    return __real_lseek(file, offset, whence);
}

int __real_renameat2(int from, const char* source, int to, const char* target, unsigned flags);
int __wrap_renameat2(int from, const char* source, int to, const char* target, unsigned flags) {
    step();
    if (flags == RENAME_EXCHANGE && orvanel::test::interception().withoutExchange) {
        errno = EINVAL;
        return -1;
    }
    const auto& renameFailure = orvanel::test::interception().renameFailure;
    if (const int code = renameFailure ? renameFailure(source, target) : 0; code != 0) {
        errno = code;
        return -1;
    }
    return __real_renameat2(from, source, to, target, flags);
}
}
// NOLINTEND(bugprone-reserved-identifier)
