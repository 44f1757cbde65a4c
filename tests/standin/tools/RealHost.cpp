#include "RealHost.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace orvanel::standin {
namespace {

struct ProcessStatus {
    char state = 'X';
    int threads = 0;
    unsigned long long started = 0;
};

/// Reads /proc/PID/stat (proc(5)). The program's name in it may contain blanks and parentheses.
ProcessStatus statusOf(int pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(file, line);
    const std::size_t end = line.rfind(')');
    if (end == std::string::npos) {
        return {};
    }
    std::istringstream fields(line.substr(end + 1));
    ProcessStatus status;
    fields >> status.state;
    std::string skipped;
    for (int field = 4; field < 20; ++field) {
        fields >> skipped;
    }
    fields >> status.threads >> skipped >> status.started;
    return status;
}

/// What the new process does before it becomes the server. The parent has several threads in tests, so nothing here may
/// allocate memory.
[[noreturn]] void becomeServer(char* const* arguments, const char* logPath, int report) {
    const int log = open(logPath, O_WRONLY | O_CREAT | O_APPEND, 0644);
    const int null = open("/dev/null", O_RDONLY);
    dup2(null, STDIN_FILENO);
    dup2(log, STDOUT_FILENO);
    dup2(log, STDERR_FILENO);
    // The server must not keep a pipe of the caller open, because the pipe's reader would never see its end.
    const int kept = dup2(report, STDERR_FILENO + 1);
    fcntl(kept, F_SETFD, FD_CLOEXEC);
    close_range(static_cast<unsigned>(kept) + 1, ~0U, 0);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execv(arguments[0], arguments);
    const int reason = errno;
    if (write(kept, &reason, sizeof reason) < 0) {
        _exit(126);
    }
    _exit(127);
}

/// Forks twice, so that the server is nobody's child. Its process id comes through the pipe, followed by the error if
/// it could not be started.
int spawnDetached(char* const* arguments, const char* logPath) {
    std::array<int, 2> report{};
    if (pipe2(report.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error(std::strerror(errno));
    }
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        const pid_t server = fork();
        if (server == 0) {
            becomeServer(arguments, logPath, report[1]);
        }
        _exit(write(report[1], &server, sizeof server) == sizeof server ? 0 : 1);
    }
    close(report[1]);
    int status = 0;
    waitpid(child, &status, 0);
    // One word is the process id of a running server. A second word, in either order, is the reason why it does not
    // run.
    std::array<int, 2> words{};
    std::size_t count = 0;
    while (count < words.size() && read(report[0], &words.at(count), sizeof(int)) == sizeof(int)) {
        count += 1;
    }
    close(report[0]);
    if (count != 1 || words[0] <= 0) {
        throw std::runtime_error(std::string(arguments[0]) + " could not be started");
    }
    return words[0];
}

} // namespace

RealHost::RealHost(std::string stateFolder, std::string toolFolder)
    : m_stateFolder(std::move(stateFolder))
    , m_toolFolder(std::move(toolFolder)) {}

std::optional<std::string> RealHost::readFile(const std::string& path) {
    const std::ifstream file(path, std::ios::binary);
    if (!file) {
        return std::nullopt;
    }
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool RealHost::isPortTaken(int port) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int yes = 1;
    // As for docker's own port proxy, a port that is only in a closing state counts as free.
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool taken = bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0;
    close(listener);
    return taken;
}

ServerProcess RealHost::startServer(const std::string& program, int port, const std::string& folder) {
    std::filesystem::create_directories(folder);
    std::vector<std::string> words{program,   "--address", "127.0.0.1", "--port", std::to_string(port),
                                   "--state", folder};
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    const int pid = spawnDetached(arguments.data(), logPath().c_str());
    return {pid, statusOf(pid).started};
}

bool RealHost::isAlive(const ServerProcess& server) {
    const ProcessStatus status = statusOf(server.pid);
    // The first thread may end before the others, which still hold the port.
    const bool isOver = status.state == 'X' || (status.state == 'Z' && status.threads <= 1);
    return server.pid > 0 && status.started == server.started && !isOver;
}

void RealHost::endServer(const ServerProcess& server, bool atOnce) {
    if (isAlive(server)) {
        kill(server.pid, atOnce ? SIGKILL : SIGTERM);
    }
}

std::string RealHost::serverLog() {
    return readFile(logPath()).value_or(std::string());
}

void RealHost::clearServerLog() {
    std::filesystem::remove(logPath());
}

void RealHost::installTool(const std::string& tool, const std::string& fromFolder) {
    const std::filesystem::path target = std::filesystem::path(m_toolFolder) / tool;
    const std::filesystem::path source = fromFolder.empty()
                                             ? std::filesystem::canonical("/proc/self/exe").parent_path() / tool
                                             : std::filesystem::path(fromFolder) / tool;
    std::filesystem::remove(target);
    std::filesystem::create_symlink(source, target);
}

} // namespace orvanel::standin
