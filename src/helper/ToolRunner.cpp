#include "helper/ToolRunner.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvanel {
namespace {

constexpr int couldNotStart = 127;
constexpr int pause = 50;

/// Nothing of the caller's. The language is English, so that the program recognises the reasons of failures.
const std::vector<std::string>& environment() {
    static const std::vector<std::string> fixed{"PATH=/usr/sbin:/usr/bin:/sbin:/bin",
                                                "HOME=/root",
                                                "USER=root",
                                                "LOGNAME=root",
                                                "SHELL=/bin/sh",
                                                "LC_ALL=C.UTF-8",
                                                "TERM=dumb",
                                                "DEBIAN_FRONTEND=noninteractive",
                                                "NEEDRESTART_MODE=l",
                                                "APT_LISTCHANGES_FRONTEND=none"};
    return fixed;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

void writeAll(const std::string& text) {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = ::write(STDOUT_FILENO, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR) {
            return;
        }
        written += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
}

/// Returns 0 or the error number.
int spawn(pid_t* pid, const std::string& path, const ToolCommand& command, int output) {
    posix_spawn_file_actions_t actions{};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawnattr_t attributes{};
    ::posix_spawnattr_init(&attributes);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    sigset_t signals{};
    sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes, &signals);
    sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes, &signals);

    std::vector<std::string> words = command;
    std::vector<std::string> variables = environment();
    const int error =
        ::posix_spawn(pid, path.c_str(), &actions, &attributes, pointersTo(words).data(), pointersTo(variables).data());
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
    return error;
}

/// What the file has got since `place`.
std::string newOutput(int file, off_t& place) {
    std::string text;
    std::array<char, 4096> room{};
    for (ssize_t count = 1; count > 0;) {
        count = ::pread(file, room.data(), room.size(), place);
        if (count > 0) {
            text.append(room.data(), static_cast<std::size_t>(count));
            place += count;
        }
    }
    return text;
}

std::string joined(const ToolCommand& command) {
    std::string line;
    for (const std::string& word : command) {
        line += line.empty() ? word : ' ' + word;
    }
    return line;
}

} // namespace

void say(const std::string& line) {
    writeAll(line + '\n');
}

ToolRunner::ToolRunner(const Computer& computer, StopRequest& stop)
    : m_computer(computer)
    , m_stop(stop) {}

int ToolRunner::run(const ToolCommand& command, Kind kind) {
    say("$ " + joined(command));
    m_hasChangedSomething = true;
    return runQuietly(kind == Kind::packages ? wrapped(command) : command,
                      [](const std::string& text) { writeAll(text); });
}

std::string ToolRunner::outputOf(const ToolCommand& command) {
    std::string output;
    runQuietly(command, [&output](const std::string& text) { output += text; });
    return output;
}

/// As a service of its own: the user's login may end, and the system then ends whatever belongs to it.
ToolCommand ToolRunner::wrapped(const ToolCommand& command) const {
    const std::string systemdRun = "/usr/bin/systemd-run";
    if (!m_computer.exists("/run/systemd/system") || !m_computer.hasTool(systemdRun)) {
        return command;
    }
    ToolCommand service{systemdRun, "--quiet", "--wait", "--pipe", "--collect", "--service-type=exec"};
    for (const std::string& variable : environment()) {
        service.push_back("--setenv=" + variable);
    }
    service.push_back("--");
    service.push_back(m_computer.path(command.front()));
    service.insert(service.end(), command.begin() + 1, command.end());
    return service;
}

int ToolRunner::runQuietly(const ToolCommand& command, const std::function<void(const std::string& text)>& onOutput) {
    const int output = ::memfd_create("output", MFD_CLOEXEC);
    if (output < 0) {
        return couldNotStart;
    }
    ::fcntl(output, F_SETFL, O_APPEND);
    pid_t pid = 0;
    if (spawn(&pid, m_computer.path(command.front()), command, output) != 0) {
        ::close(output);
        onOutput(command.front() + " could not be started.\n");
        return couldNotStart;
    }
    off_t place = 0;
    int state = 0;
    pid_t ended = 0;
    while (ended == 0 || (ended < 0 && errno == EINTR)) {
        m_stop.wait(pause);
        ended = ::waitpid(pid, &state, WNOHANG);
        onOutput(newOutput(output, place));
        if (ended == 0 && m_stop.isMade()) {
            tellOfStop();
        }
    }
    ::close(output);
    if (ended < 0) {
        return couldNotStart;
    }
    return WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state);
}

void ToolRunner::tellOfStop() {
    if (!m_hasTold) {
        m_hasTold = true;
        say("Cancelled: this step goes on to its end, because it must not be interrupted.");
    }
}

} // namespace orvanel
