#pragma once

#include <optional>
#include <string>
#include <vector>

namespace orvanel {

using ToolCommand = std::vector<std::string>;

/// How one package manager installs Docker. All commands begin with an absolute path.
struct PackageManager {
    /// "apt-get"
    std::string name;
    /// What people are shown: "apt-get install docker.io".
    std::string shownCommand;
    /// Brings the lists of packages up to date; empty where installing does it, or where it would ask for more.
    ToolCommand refresh;
    /// Installs the packages that are appended to it. Asks nothing, and removes nothing.
    ToolCommand install;
    std::string engine;
    /// Tools of Docker's that may be missing: the engine is installed without them. With apt-get, see chosenExtras().
    std::vector<std::string> extras;
    /// Prints what apt-get knows of the extras; empty elsewhere.
    ToolCommand describeExtras;
    /// Exit statuses besides 0 with which the packages are installed.
    std::vector<int> successes;
};

/// The one that this computer has, below `root`; of several, the one that its distribution is made with. None where it
/// has none that we know, or where the system's files cannot be changed by it (an image-based system).
std::optional<PackageManager> packageManagerOf(const std::string& root);

/// Which extras are to be installed, from what `apt-cache show` printed of them: those that exist, and of Docker's
/// compose only a version that is a plug-in of the docker tool (2 or later).
std::vector<std::string> chosenExtras(const std::string& description);

} // namespace orvanel
