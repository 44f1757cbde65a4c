#include "backup/Rename.h"

#include "backup/Folder.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>

namespace orvanel {
namespace {

/// A folder can only get another parent when its owner may write into it. Gives that right while it lives, to the
/// folder that had not got it, wherever that is by then.
class Movable {
public:
    explicit Movable(const Place& place)
        : m_folder(openFolder(place.folder, place.name)) {
        struct stat status {};
        constexpr mode_t permissions = S_IRWXU | S_IRWXG | S_IRWXO;
        if (m_folder.isOpen() && ::fstat(m_folder.get(), &status) == 0 && (status.st_mode & S_IWUSR) == 0) {
            m_mode = status.st_mode & permissions;
            m_isChanged = ::fchmod(m_folder.get(), m_mode | S_IWUSR) == 0;
        }
    }
    ~Movable() {
        if (m_isChanged) {
            ::fchmod(m_folder.get(), m_mode);
        }
    }
    Movable(const Movable&) = delete;
    Movable& operator=(const Movable&) = delete;

private:
    FileDescriptor m_folder;
    mode_t m_mode = 0;
    bool m_isChanged = false;
};

} // namespace

int rename(const Place& from, const Place& to, unsigned flags) {
    const Movable first(from);
    const Movable second(to);
    if (::renameat2(from.folder, from.name.c_str(), to.folder, to.name.c_str(), flags) == 0) {
        return 0;
    }
    return errno;
}

int renameToNothing(const Place& from, const Place& to) {
    const int code = rename(from, to, RENAME_NOREPLACE);
    if (!isUnknownFlag(code)) {
        return code;
    }
    struct stat status {};
    const bool isTaken = ::fstatat(to.folder, to.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    return isTaken ? EEXIST : rename(from, to, 0);
}

bool isUnknownFlag(int code) {
    return code == EINVAL || code == ENOSYS || code == EOPNOTSUPP;
}

} // namespace orvanel
