// The root helper for a computer in a folder: ORVANEL_TEST_COMPUTER stands for "/", with etc/passwd and etc/group of
// its own. The installed helper has no such variable.

#include "helper/CallersWorld.h"
#include "helper/DockerSetup.h"

#include <cstdio>
#include <cstdlib>
#include <grp.h>
#include <pwd.h>

using namespace orvanel;

namespace {

template <class Entry>
const Entry* findIn(const std::string& file, Entry* (*next)(FILE*), const std::function<bool(const Entry&)>& isIt) {
    FILE* const entries = std::fopen(file.c_str(), "re");
    if (entries == nullptr) {
        return nullptr;
    }
    const Entry* entry = next(entries);
    while (entry != nullptr && !isIt(*entry)) {
        entry = next(entries);
    }
    std::fclose(entries);
    return entry;
}

} // namespace

int main(int argc, char* argv[]) {
    const char* const folder = std::getenv("ORVANEL_TEST_COMPUTER");
    if (folder == nullptr || *folder == '\0') {
        std::fputs("There is no computer to change.\n", stderr);
        return 1;
    }
    Computer computer{.root = folder, .isRoot = false, .person = {}, .hasGroup = {}};
    computer.isRoot = computer.exists("/is-root");
    computer.person = [&](uid_t id) -> std::optional<Person> {
        const passwd* found = findIn<passwd>(computer.path("/etc/passwd"), &::fgetpwent,
                                             [id](const passwd& entry) { return entry.pw_uid == id; });
        return found != nullptr ? std::optional(Person{id, found->pw_name}) : std::nullopt;
    };
    computer.hasGroup = [&](const std::string& name) {
        return findIn<group>(computer.path("/etc/group"), &::fgetgrent,
                             [&](const group& entry) { return entry.gr_name == name; }) != nullptr;
    };
    SetupRequest request;
    request.words.assign(argv + 1, argv + argc);
    if (const char* const user = std::getenv("PKEXEC_UID")) {
        request.polkitUser = user;
    }
    if (!leaveTheCallersWorld()) {
        return static_cast<int>(SetupStatus::badCaller);
    }
    return static_cast<int>(setUpDocker(computer, request));
}
