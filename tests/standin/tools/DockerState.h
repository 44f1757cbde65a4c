#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace orvanel::standin {

/// The two generations of the docker tool whose words differ: 28.2.2 and 20.10.24.
enum class Client { v28, v20 };

enum class Daemon {
    up,
    down,   ///< nobody listens on the socket
    denied, ///< the user is not in the docker group
    hangs,  ///< accepts and never answers
};

enum class Registry {
    up,
    unreachable, ///< its name cannot be resolved
    silent,      ///< accepts and never answers: 15 s
};

/// Who else holds the port that the container wants.
enum class PortHolder { nobody, process, container };

enum class Owner {
    compose,
    plain,   ///< made by `docker run`; compose takes it for a stranger
    foreign, ///< not ours, only of the same name
};

/// A process, told apart from a later one with the same number by its start time (field 22 of /proc/PID/stat).
struct ServerProcess {
    int pid = 0;
    unsigned long long started = 0;

    bool operator==(const ServerProcess&) const = default;
};

struct Container {
    /// Docker's own word for State.Status.
    std::string state = "running";
    Owner owner = Owner::compose;
    std::string id{};
    std::string image{};
    std::string imageId{};
    int port = 3001;
    std::string data{};
    std::string restartPolicy = "unless-stopped";
    /// Asked to stop; the restart policy does not count any more.
    bool stopping = false;
    int restarts = 0;
    ServerProcess server{};

    bool operator==(const Container&) const = default;
};

/// What a test prescribes for the next calls of one command ("inspect", "compose pull", "colima start" …; see
/// commandName()). With an exit code or an output it replaces the answer and nothing happens; otherwise the command
/// does its work, `delay` later.
struct Override {
    std::string command{};
    std::optional<int> exitCode{};
    std::string out{};
    std::string err{};
    int delay = 0; ///< milliseconds, before everything
    bool hangs = false;
    bool ignoresTerm = false;
    int times = -1; ///< calls it is still good for; -1 = for ever

    bool operator==(const Override&) const = default;
};

/// All that the stand-in tools know about their world: a plain value.
///
/// As text (the file `standin-state`) it is one "KEY VALUE" a line, in any order, keys left out keeping the values
/// below; see fields() in DockerState.cpp for the keys. `\\`, `\n`, `\r` and `\t` in values are escaped so. Three keys
/// may come more than once:
///     image REFERENCE ID       an image that is present
///     pullable REFERENCE [ID]  an image that the registry has; REPOSITORY:* stands for any tag
///     override COMMAND<TAB>exit=1<TAB>out=…<TAB>err=…<TAB>delay=500<TAB>hangs=yes<TAB>ignores-term=yes<TAB>times=2
/// There is a container when a line begins with "container.". Empty lines and lines that begin with # do not count.
struct DockerState {
    Client client = Client::v28;
    Daemon daemon = Daemon::up;
    bool compose = true; ///< the compose plug-in is installed
    Registry registry = Registry::up;
    bool diskFull = false;
    PortHolder portHolder = PortHolder::nobody;
    /// How long things take, as a part of what they take in reality: 1 a pull of 15 s, 0 no time at all.
    double pace = 0;
    /// Every so manieth look at the container finds it restarting; 0 = it runs well, 1 = always.
    int crashLoop = 0;
    int looks = 0;
    /// Written to standard error before every answer of docker.
    std::string warning;
    /// Lines of the container's log, before those of the server.
    std::string log;
    bool network = false; ///< compose has made its network
    /// Counts what has been made, for ids that are never the same.
    int made = 0;

    /// The program that plays Uptime Kuma; none = a running container is only a word.
    std::string server;
    /// Its folder; none = the container's data folder.
    std::string serverFolder;

    /// What `brew install` brings, separated by blanks, and the folder it takes that from (none = where brew itself
    /// is).
    std::string brewBrings = "colima docker";
    std::string brewFolder;
    /// How many more commands find the daemon down after `colima start`; -1 = it stays down.
    int colimaDelay = 0;
    /// Counts those down; -1 = the daemon is not on its way.
    int daemonUpAfter = -1;

    std::optional<Container> container;
    std::map<std::string, std::string> images;
    std::map<std::string, std::string> pullable{{"louislam/uptime-kuma:*", ""}};
    std::vector<Override> overrides;

    bool operator==(const DockerState&) const = default;
};

std::string toText(const DockerState& state);

/// Throws std::runtime_error with the number of the line that is wrong.
DockerState stateFromText(const std::string& text);

/// `text` with backslashes, line ends and tabs escaped, and back.
std::string escaped(const std::string& text);
std::string unescaped(const std::string& text);

/// A long hex number that is always the same for the same seed, such as an image id without its "sha256:".
std::string hexId(const std::string& seed);

/// Puts the image into the state, as if it had been pulled.
void addImage(DockerState& state, const std::string& reference = "louislam/uptime-kuma:2");

/// Puts a container into the state as `compose up -d` would have made it.
void addContainer(DockerState& state, const std::string& word, int port = 3001,
                  const std::string& reference = "louislam/uptime-kuma:2");

} // namespace orvanel::standin
