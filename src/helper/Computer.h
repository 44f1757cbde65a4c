#pragma once

#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>

namespace orvanel {

/// A user of this computer, as the password database has them.
struct Person {
    uid_t id = 0;
    std::string name;
};

/// The computer that the root helper changes. The installed helper only knows the real one; a test passes its own.
struct Computer {
    /// Stands before every path; empty on the real computer.
    std::string root;
    /// Whether this process may change everything.
    bool isRoot = false;
    std::function<std::optional<Person>(uid_t id)> person;
    std::function<bool(const std::string& name)> hasGroup;

    std::string path(const std::string& absolute) const { return root + absolute; }
    bool exists(const std::string& absolute) const;
    /// Whether the tool is there and may be run.
    bool hasTool(const std::string& absolute) const;

    static Computer real();
};

} // namespace orvanel
