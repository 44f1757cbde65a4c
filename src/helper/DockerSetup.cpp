#include "helper/DockerSetup.h"

#include "helper/SocketAccess.h"
#include "helper/ToolRunner.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/file.h>
#include <unistd.h>

namespace orvanel {
namespace {

const std::string dockerGroup = "docker";
const std::string socketPath = "/run/docker.sock";
const std::string lockPath = "/run/orvanel-docker-setup.lock";

/// How long the service may take to come up, and its socket to appear, before nobody waits for it here any more.
constexpr const char* startSeconds = "90";
constexpr int socketPauses = 50;
constexpr int socketPause = 200;

/// Ten digits at most, so that the number fits.
std::optional<uid_t> userId(const std::string& text) {
    const auto isDigit = [](unsigned char letter) { return std::isdigit(letter) != 0; };
    if (text.empty() || text.size() > 10 || !std::all_of(text.begin(), text.end(), isDigit)) {
        return std::nullopt;
    }
    const unsigned long long number = std::stoull(text);
    // The highest number stands for nobody.
    if (number >= std::numeric_limits<uid_t>::max()) {
        return std::nullopt;
    }
    return static_cast<uid_t>(number);
}

std::optional<Person> personBehind(const Computer& computer, const SetupRequest& request) {
    const std::optional<uid_t> id = request.polkitUser ? userId(*request.polkitUser) : std::nullopt;
    if (!computer.isRoot || !id) {
        return std::nullopt;
    }
    std::optional<Person> person = computer.person(*id);
    // A name that looks like an option would be one for the tools.
    if (person && (person->name.empty() || person->name.front() == '-')) {
        return std::nullopt;
    }
    return person;
}

/// Held until this process ends.
bool takeLock(const Computer& computer) {
    const int file = ::open(computer.path(lockPath).c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    return file >= 0 && ::flock(file, LOCK_EX | LOCK_NB) == 0;
}

class DockerSetup {
public:
    DockerSetup(const Computer& computer, Person person)
        : m_computer(computer)
        , m_person(std::move(person)) {}

    SetupStatus install() {
        const std::optional<PackageManager> manager = packageManagerOf(m_computer.root);
        if (!manager) {
            say("Orvanel does not know this computer's package manager.");
            return SetupStatus::noPackageManager;
        }
        return inTurn({[&] { return refresh(*manager); }, [&] { return installEngine(*manager); },
                       [&] { return installExtras(*manager); }, [&] { return joinGroup(); },
                       [&] { return startService(); }, [&] { return openSocket(); }});
    }

    SetupStatus start() {
        return inTurn({[&] { return startService(); }});
    }

    SetupStatus join() {
        return inTurn({[&] { return joinGroup(); }, [&] { return openSocket(); }});
    }

private:
    using Step = std::function<SetupStatus()>;

    /// Until one fails, or until the wish to stop comes, which is looked at before each.
    SetupStatus inTurn(const std::vector<Step>& steps) {
        for (const Step& step : steps) {
            if (m_stop.isMade()) {
                return stopped();
            }
            const SetupStatus status = step();
            if (status != SetupStatus::done) {
                return status;
            }
        }
        return SetupStatus::done;
    }

    SetupStatus stopped() const {
        if (!m_tools.hasChangedSomething()) {
            say("Cancelled before anything was changed.");
            return SetupStatus::cancelled;
        }
        say("Cancelled after the step that was under way.");
        return SetupStatus::cancelledAfterStep;
    }

    /// Old lists may do, so a failure decides nothing.
    SetupStatus refresh(const PackageManager& manager) {
        if (!manager.refresh.empty() && m_tools.run(manager.refresh, ToolRunner::Kind::packages) != 0) {
            say("The package lists could not be updated; the old ones are used.");
        }
        return SetupStatus::done;
    }

    bool installed(const PackageManager& manager, const std::vector<std::string>& packages) {
        ToolCommand command = manager.install;
        command.insert(command.end(), packages.begin(), packages.end());
        const int status = m_tools.run(command, ToolRunner::Kind::packages);
        const auto& others = manager.successes;
        return status == 0 || std::find(others.begin(), others.end(), status) != others.end();
    }

    SetupStatus installEngine(const PackageManager& manager) {
        if (installed(manager, {manager.engine})) {
            return SetupStatus::done;
        }
        say("The package manager could not install Docker.");
        return SetupStatus::packagesFailed;
    }

    SetupStatus installExtras(const PackageManager& manager) {
        std::vector<std::string> extras = manager.extras;
        if (!manager.describeExtras.empty()) {
            extras = chosenExtras(m_tools.outputOf(manager.describeExtras));
        }
        if (!extras.empty() && !installed(manager, extras)) {
            say("Some optional packages could not be installed. Docker works without them.");
        }
        return SetupStatus::done;
    }

    SetupStatus joinGroup() {
        if (m_person.id == 0) {
            return SetupStatus::done;
        }
        if (!m_computer.hasGroup(dockerGroup) && m_tools.run({"/usr/sbin/groupadd", "--system", dockerGroup}) != 0) {
            say("The group \"docker\" could not be made.");
            return SetupStatus::groupFailed;
        }
        if (m_tools.run({"/usr/bin/gpasswd", "-a", m_person.name, dockerGroup}) != 0) {
            say(m_person.name + " could not be added to the group \"docker\".");
            return SetupStatus::groupFailed;
        }
        return SetupStatus::done;
    }

    /// Waits for the service, but not for ever, as systemctl would.
    SetupStatus startService() {
        bool isStarted = true;
        if (m_computer.exists("/run/systemd/system")) {
            isStarted = m_tools.run({"/usr/bin/systemctl", "enable", "docker.service"}) == 0 &&
                        isDoneInTime({"/usr/bin/systemctl", "start", "docker.service"});
        } else if (m_computer.hasTool("/usr/sbin/service")) {
            isStarted = isDoneInTime({"/usr/sbin/service", "docker", "start"});
        }
        if (isStarted) {
            return SetupStatus::done;
        }
        say("Docker's service could not be started.");
        return SetupStatus::serviceFailed;
    }

    /// A service that hangs goes on hanging without us.
    bool isDoneInTime(const ToolCommand& command) {
        ToolCommand limited{"/usr/bin/timeout", startSeconds, m_computer.path(command.front())};
        limited.insert(limited.end(), command.begin() + 1, command.end());
        return m_tools.run(limited) == 0;
    }

    SetupStatus openSocket() {
        if (m_person.id == 0) {
            return SetupStatus::done;
        }
        for (int pauses = 0; pauses < socketPauses && !m_computer.exists(socketPath) && !m_stop.isMade(); ++pauses) {
            m_stop.wait(socketPause);
        }
        if (!m_computer.exists(socketPath) && m_stop.isMade()) {
            return stopped();
        }
        if (!openSocketFor(m_person.id, m_computer.path(socketPath))) {
            say("Docker's socket could not be opened for " + m_person.name + ": " + std::strerror(errno) + ".");
            return SetupStatus::socketFailed;
        }
        say(m_person.name + " may use Docker now.");
        return SetupStatus::done;
    }

    const Computer& m_computer;
    const Person m_person;
    StopRequest m_stop;
    ToolRunner m_tools{m_computer, m_stop};
};

} // namespace

SetupStatus setUpDocker(const Computer& computer, const SetupRequest& request) {
    const std::string verb = request.words.size() == 1 ? request.words.front() : std::string();
    if (verb != "install" && verb != "start" && verb != "join") {
        say("This helper of Orvanel knows \"install\", \"start\" and \"join\", one at a time.");
        return SetupStatus::badRequest;
    }
    const std::optional<Person> person = personBehind(computer, request);
    if (!person) {
        say("This helper of Orvanel has to be started as root through polkit, by a user of this computer.");
        return SetupStatus::badCaller;
    }
    DockerSetup setup(computer, *person);
    if (!takeLock(computer)) {
        say("Docker is being set up already.");
        return SetupStatus::alreadyRunning;
    }
    if (verb == "install") {
        return setup.install();
    }
    return verb == "start" ? setup.start() : setup.join();
}

} // namespace orvanel
