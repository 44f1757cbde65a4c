#include "helper/SocketAccess.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace orvanel {
namespace {

constexpr const char* attribute = "system.posix_acl_access";

enum Tag : std::uint16_t {
    owner = 0x01,
    user = 0x02,
    owningGroup = 0x04,
    namedGroup = 0x08,
    mask = 0x10,
    other = 0x20
};
constexpr std::uint16_t readAndWrite = 6;
constexpr std::uint32_t nobody = 0xFFFFFFFF;
constexpr std::uint32_t formatVersion = 2;
constexpr std::size_t headerSize = 4;
constexpr std::size_t entrySize = 8;

struct Entry {
    std::uint16_t tag = 0;
    std::uint16_t permissions = 0;
    std::uint32_t id = nobody;
};

/// All numbers are little-endian.
void append(std::vector<std::uint8_t>& bytes, std::uint32_t number, int size) {
    for (int byte = 0; byte < size; ++byte) {
        bytes.push_back(static_cast<std::uint8_t>(number >> (8 * byte)));
    }
}

std::uint32_t number(const std::uint8_t* bytes, int size) {
    std::uint32_t value = 0;
    for (int byte = 0; byte < size; ++byte) {
        value |= static_cast<std::uint32_t>(bytes[byte]) << (8 * byte);
    }
    return value;
}

std::vector<Entry> entriesOf(const std::vector<std::uint8_t>& list) {
    std::vector<Entry> entries;
    for (std::size_t place = headerSize; place + entrySize <= list.size(); place += entrySize) {
        const std::uint8_t* const bytes = list.data() + place;
        entries.push_back({static_cast<std::uint16_t>(number(bytes, 2)),
                           static_cast<std::uint16_t>(number(bytes + 2, 2)), number(bytes + 4, 4)});
    }
    return entries;
}

Entry* find(std::vector<Entry>& entries, std::uint16_t tag, std::uint32_t id = nobody) {
    const auto isIt = [&](const Entry& entry) { return entry.tag == tag && entry.id == id; };
    const auto found = std::find_if(entries.begin(), entries.end(), isIt);
    return found == entries.end() ? nullptr : &*found;
}

std::vector<Entry> plainEntries(mode_t mode) {
    const auto bits = [mode](int shift) { return static_cast<std::uint16_t>((mode >> shift) & 7U); };
    return {{owner, bits(6)}, {owningGroup, bits(3)}, {other, bits(0)}};
}

std::vector<std::uint8_t> presentList(const std::string& path) {
    std::vector<std::uint8_t> list(65536);
    const ssize_t size = ::lgetxattr(path.c_str(), attribute, list.data(), list.size());
    list.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    return list;
}

} // namespace

std::vector<std::uint8_t> accessListWith(uid_t id, const std::vector<std::uint8_t>& present, mode_t mode) {
    std::vector<Entry> entries = present.empty() ? plainEntries(mode) : entriesOf(present);
    if (Entry* const known = find(entries, user, id)) {
        known->permissions |= readAndWrite;
    } else {
        entries.push_back({user, readAndWrite, id});
    }
    // The mask limits what everybody but the owner and the others may do.
    if (Entry* const limit = find(entries, mask)) {
        limit->permissions |= readAndWrite;
    } else {
        const Entry* const group = find(entries, owningGroup);
        const int groups = group != nullptr ? group->permissions : 0;
        entries.push_back({mask, static_cast<std::uint16_t>(groups | readAndWrite)});
    }
    // The kernel takes them only in this order.
    std::sort(entries.begin(), entries.end(), [](const Entry& one, const Entry& two) {
        return std::pair(one.tag, one.id) < std::pair(two.tag, two.id);
    });
    std::vector<std::uint8_t> list;
    append(list, formatVersion, 4);
    for (const Entry& entry : entries) {
        append(list, entry.tag, 2);
        append(list, entry.permissions, 2);
        append(list, entry.id, 4);
    }
    return list;
}

bool openSocketFor(uid_t user, const std::string& path) {
    struct stat information = {};
    if (::lstat(path.c_str(), &information) != 0) {
        return false;
    }
    if (!S_ISSOCK(information.st_mode)) {
        errno = ENOTSOCK;
        return false;
    }
    const std::vector<std::uint8_t> list = accessListWith(user, presentList(path), information.st_mode);
    if (::lsetxattr(path.c_str(), attribute, list.data(), list.size(), 0) == 0) {
        return true;
    }
    if (errno != EOPNOTSUPP) {
        return false;
    }
    return ::lchown(path.c_str(), user, static_cast<gid_t>(-1)) == 0;
}

} // namespace orvanel
