#include "helper/Computer.h"

#include <cerrno>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace orvanel {
namespace {

std::optional<Person> personOf(uid_t id) {
    std::vector<char> room(1024);
    passwd entry{};
    passwd* found = nullptr;
    while (::getpwuid_r(id, &entry, room.data(), room.size(), &found) == ERANGE) {
        room.resize(room.size() * 2);
    }
    if (found == nullptr) {
        return std::nullopt;
    }
    return Person{id, found->pw_name};
}

bool groupExists(const std::string& name) {
    std::vector<char> room(1024);
    group entry{};
    group* found = nullptr;
    while (::getgrnam_r(name.c_str(), &entry, room.data(), room.size(), &found) == ERANGE) {
        room.resize(room.size() * 2);
    }
    return found != nullptr;
}

} // namespace

bool Computer::exists(const std::string& absolute) const {
    return ::access(path(absolute).c_str(), F_OK) == 0;
}

bool Computer::hasTool(const std::string& absolute) const {
    return ::access(path(absolute).c_str(), X_OK) == 0;
}

Computer Computer::real() {
    return {.root = {}, .isRoot = ::geteuid() == 0, .person = &personOf, .hasGroup = &groupExists};
}

} // namespace orvanel
