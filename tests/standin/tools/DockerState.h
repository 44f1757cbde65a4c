#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace orvanel::standin {

/// What answers under the name docker, since the words differ: two generations of the docker tool, 28.2.2 and 20.10.24,
/// or podman 4.3.1 through its docker script. Podman knows each image under its full name (see inDockersRegistry()).
enum class Client { v28, v20, podman };

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

/// What else holds the port that the container wants.
enum class PortHolder { nobody, process, container };

enum class Owner {
    compose,
    plain,   ///< made by `docker run`; compose does not know it
    foreign, ///< not ours, but of the same name
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
    /// A stop is under way, so the restart policy no longer counts.
    bool stopping = false;
    int restarts = 0;
    ServerProcess server{};

    bool operator==(const Container&) const = default;
};

/// What a test prescribes for the next calls of one command ("inspect", "compose pull", "colima start" …; see
/// commandName()). An exit code or an output replaces the answer, and the command does nothing. Without them, the
/// command does its work after `delay`.
struct Override {
    std::string command{};
    std::optional<int> exitCode{};
    std::string out{};
    std::string err{};
    int delay = 0; ///< in milliseconds, before anything else
    bool hangs = false;
    bool ignoresTerm = false;
    int times = -1; ///< how many more calls it is for; -1 = all

    bool operator==(const Override&) const = default;
};

/// Everything that the stand-in tools know about their world: a plain value.
///
/// The file `standin-state` holds it as text: one "KEY VALUE" per line, in any order. A key that is left out has the
/// value below; see fields() in DockerState.cpp for the keys. Values use the escapes `\\`, `\n`, `\r` and `\t`. Three
/// keys may occur more than once:
///     image REFERENCE ID       an image that is present
///     pullable REFERENCE [ID]  an image that the registry has; REPOSITORY:* stands for any tag
///     override COMMAND<TAB>exit=1<TAB>out=…<TAB>err=…<TAB>delay=500<TAB>hangs=yes<TAB>ignores-term=yes<TAB>times=2
/// There is a container if a line begins with "container.". Empty lines and lines that begin with # are ignored.
struct DockerState {
    Client client = Client::v28;
    Daemon daemon = Daemon::up;
    bool compose = true; ///< the compose plug-in is installed; with podman, podman-compose 1.0.3
    Registry registry = Registry::up;
    bool diskFull = false;
    PortHolder portHolder = PortHolder::nobody;
    /// How long things take, as a fraction of the real time: with 1, a pull takes 15 s; with 0, no time at all.
    double pace = 0;
    /// With N, every Nth look at the container finds it restarting; 0 means never.
    int crashLoop = 0;
    int looks = 0;
    /// Written to standard error before every answer of docker.
    std::string warning;
    /// Lines of the container's log, before those of the server.
    std::string log;
    bool network = false; ///< compose has made its network
    /// The number of things made so far, so that each gets an id of its own.
    int made = 0;

    /// The program that plays Uptime Kuma; if empty, no program runs in a running container.
    std::string server;
    /// The program's folder; if empty, the container's data folder.
    std::string serverFolder;

    /// What `brew install` installs, separated by blanks, and the folder that it copies from (if empty, the folder of
    /// brew itself).
    std::string brewBrings = "colima docker";
    std::string brewFolder;
    /// How many commands after `colima start` still find the daemon down; -1 means that it stays down.
    int colimaDelay = 0;
    /// How many of those commands are left; -1 means that the daemon is not starting.
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

/// Escape the backslashes, line ends and tabs of a text, and undo that.
std::string escaped(const std::string& text);
std::string unescaped(const std::string& text);

/// A long hexadecimal number, such as an image id without its "sha256:". The same seed gives the same number.
std::string hexId(const std::string& seed);

/// Puts the image into the state, as if it had been pulled.
void addImage(DockerState& state, const std::string& reference = "louislam/uptime-kuma:2");

/// The image's name with the registry in it.
std::string inDockersRegistry(const std::string& reference);

/// Puts podman in Docker's place, as Debian does: its script prints a notice, and nothing answers to "compose".
void makePodman(DockerState& state);

/// Puts a container into the state as `compose up -d` would have made it.
void addContainer(DockerState& state, const std::string& word, int port = 3001,
                  const std::string& reference = "louislam/uptime-kuma:2");

} // namespace orvanel::standin
