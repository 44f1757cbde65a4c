#include "helper/PackageManager.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <unistd.h>

namespace orvanel {
namespace {

/// Docker's own packages conflict with Debian's: what is installed already is never removed for this.
/// A configuration file that somebody changed is kept.
PackageManager aptGet() {
    const ToolCommand apt{"/usr/bin/apt-get", "-y", "-q"};
    PackageManager manager{.name = "apt-get", .shownCommand = "apt-get install docker.io"};
    manager.refresh = apt;
    manager.refresh.insert(manager.refresh.end(), {"-o", "Acquire::Retries=1", "update"});
    manager.install = apt;
    manager.install.insert(manager.install.end(), {"-o", "Dpkg::Use-Pty=0", "-o", "DPkg::Lock::Timeout=60", "-o",
                                                   "Dpkg::Options::=--force-confdef", "-o",
                                                   "Dpkg::Options::=--force-confold", "--no-remove", "install"});
    manager.engine = "docker.io";
    manager.describeExtras = {"/usr/bin/apt-cache", "--no-all-versions", "show",
                              "docker-cli",         "docker-compose-v2", "docker-compose"};
    return manager;
}

PackageManager dnf() {
    return {.name = "dnf",
            .shownCommand = "dnf install moby-engine docker-compose",
            .refresh = {},
            .install = {"/usr/bin/dnf", "-y", "install"},
            .engine = "moby-engine",
            .extras = {"docker-compose"},
            .describeExtras = {},
            .successes = {}};
}

/// 102 and 103 ask for a restart of the computer or of the package manager; 106: some repositories were left out.
PackageManager zypper() {
    return {.name = "zypper",
            .shownCommand = "zypper install docker docker-compose",
            .refresh = {},
            .install = {"/usr/bin/zypper", "--non-interactive", "install"},
            .engine = "docker",
            .extras = {"docker-compose"},
            .describeExtras = {},
            .successes = {102, 103, 106}};
}

/// The lists are not refreshed: that without an upgrade of the whole system may break it.
PackageManager pacman() {
    return {.name = "pacman",
            .shownCommand = "pacman -S docker docker-compose",
            .refresh = {},
            .install = {"/usr/bin/pacman", "-S", "--noconfirm", "--needed"},
            .engine = "docker",
            .extras = {"docker-compose"},
            .describeExtras = {},
            .successes = {}};
}

struct Candidate {
    PackageManager manager;
    /// What only the distributions have that are made with it. Any of them can be installed elsewhere, too.
    const char* mark;
};

std::string valueOf(const std::string& line, const std::string& field) {
    const std::string start = field + ": ";
    return line.compare(0, start.size(), start) == 0 ? line.substr(start.size()) : std::string();
}

/// Versions may begin with an epoch and a colon.
bool isPlugInVersion(const std::string& version) {
    const std::size_t colon = version.find(':');
    const std::string main = colon == std::string::npos ? version : version.substr(colon + 1);
    std::size_t digits = 0;
    while (digits < main.size() && std::isdigit(static_cast<unsigned char>(main[digits])) != 0) {
        ++digits;
    }
    return digits > 1 || (digits == 1 && main[0] >= '2');
}

} // namespace

std::optional<PackageManager> packageManagerOf(const std::string& root) {
    const auto exists = [&root](const char* path) { return ::access((root + path).c_str(), F_OK) == 0; };
    if (exists("/run/ostree-booted") || exists("/usr/sbin/transactional-update")) {
        return std::nullopt;
    }
    std::optional<PackageManager> found;
    for (const Candidate& candidate :
         {Candidate{aptGet(), "/etc/debian_version"}, Candidate{dnf(), "/etc/redhat-release"},
          Candidate{zypper(), "/etc/products.d"}, Candidate{pacman(), "/etc/arch-release"}}) {
        if (::access((root + candidate.manager.install.front()).c_str(), X_OK) != 0) {
            continue;
        }
        if (::access((root + candidate.mark).c_str(), F_OK) == 0) {
            return candidate.manager;
        }
        found = found ? found : candidate.manager;
    }
    return found;
}

std::vector<std::string> chosenExtras(const std::string& description) {
    std::vector<std::string> packages;
    std::string package;
    std::istringstream lines(description);
    for (std::string line; std::getline(lines, line);) {
        if (const std::string name = valueOf(line, "Package"); !name.empty()) {
            package = name;
        }
        const std::string version = valueOf(line, "Version");
        if (version.empty()) {
            continue;
        }
        const bool isChosen = package == "docker-cli" || package == "docker-compose-v2" ||
                              (package == "docker-compose" && isPlugInVersion(version));
        if (isChosen && std::find(packages.begin(), packages.end(), package) == packages.end()) {
            packages.push_back(package);
        }
    }
    // Both bring the same plug-in.
    const auto isOther = [](const std::string& name) { return name == "docker-compose"; };
    if (std::find(packages.begin(), packages.end(), "docker-compose-v2") != packages.end()) {
        packages.erase(std::remove_if(packages.begin(), packages.end(), isOther), packages.end());
    }
    return packages;
}

} // namespace orvanel
