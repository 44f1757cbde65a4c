#include "Journal.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <mutex>

namespace kuma {
namespace {

/// Writes the line in one call, so that lines of several threads never mix.
void writeLine(int fd, const std::string& line) {
    const std::string whole = line + '\n';
    if (fd >= 0) {
        (void)!::write(fd, whole.data(), whole.size());
    }
}

std::string now() {
    const std::time_t time = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm parts{};
    ::gmtime_r(&time, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

std::string coloured(const std::string& module, const char* colour, const char* level, const std::string& text) {
    return "\x1b[36m" + now() + "\x1b[0m [\x1b[32m" + module + "\x1b[0m] \x1b[" + colour + "m" + level + ":\x1b[0m " +
           text;
}

} // namespace

void logRequest(const std::filesystem::path& folder, const std::string& line) {
    const int fd = ::open((folder / "kuma-requests.log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    writeLine(fd, line);
    if (fd >= 0) {
        ::close(fd);
    }
}

void logInfo(const std::string& module, const std::string& text) {
    writeLine(STDOUT_FILENO, coloured(module, "38;5;117", "INFO", text));
}

void logError(const std::string& module, const std::string& text) {
    writeLine(STDERR_FILENO, coloured(module, "31", "ERROR", text));
}

void logWarning(const std::string& module, const std::string& text) {
    writeLine(STDERR_FILENO, coloured(module, "33", "WARN", text));
}

} // namespace kuma
