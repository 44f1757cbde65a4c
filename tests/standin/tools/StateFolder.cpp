#include "StateFolder.h"

#include <fcntl.h>
#include <sys/auxv.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace orvanel::standin {
namespace {

[[noreturn]] void failed(const std::string& what) {
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

void writeAll(int file, const std::string& text, const std::string& path) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = write(file, text.data() + done, text.size() - done);
        if (count < 0 && errno != EINTR) {
            failed(path);
        }
        done += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
}

class File {
public:
    File(const std::string& path, int flags)
        : m_file(open(path.c_str(), flags | O_CLOEXEC, 0644)) {
        if (m_file < 0) {
            failed(path);
        }
    }
    ~File() { close(m_file); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    int number() const { return m_file; }

private:
    int m_file;
};

class Lock {
public:
    explicit Lock(const std::string& path)
        : m_file(path, O_RDWR | O_CREAT) {
        while (flock(m_file.number(), LOCK_EX) != 0) {
            if (errno != EINTR) {
                failed(path);
            }
        }
    }
    // Unlocks explicitly, because a server that is being started still has a copy of the descriptor open.
    ~Lock() { flock(m_file.number(), LOCK_UN); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    File m_file;
};

std::string readText(const std::string& path) {
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// Replaces a file that others may be reading: they find the old text or the new one, never a part.
void replaceFile(const std::string& path, const std::string& text) {
    const std::string fresh = path + ".new";
    writeAll(File(fresh, O_WRONLY | O_CREAT | O_TRUNC).number(), text, fresh);
    if (std::rename(fresh.c_str(), path.c_str()) != 0) {
        failed(path);
    }
}

} // namespace

StateFolder::StateFolder(std::string path)
    : m_path(std::move(path)) {}

std::string StateFolder::toolFolder(const char* argument0) {
    std::string path = argument0;
    if (path.find('/') == std::string::npos) {
        // Found through PATH; this is what was really started (a pointer kept in an integer: getauxval(3)).
        path = reinterpret_cast<const char*>(getauxval(AT_EXECFN)); // NOLINT(performance-no-int-to-ptr)
    }
    return path.substr(0, path.rfind('/'));
}

StateFolder StateFolder::ofTool(const char* argument0) {
    const std::string folder = toolFolder(argument0);
    const std::string shared = folder + "/standin";
    struct stat info {};
    return StateFolder(stat(shared.c_str(), &info) == 0 && S_ISDIR(info.st_mode) ? shared : folder);
}

DockerState StateFolder::load() const {
    try {
        return stateFromText(readText(file("standin-state")));
    } catch (const std::exception& error) {
        throw std::runtime_error(file("standin-state") + ", " + error.what());
    }
}

void StateFolder::change(const std::function<void(DockerState&)>& action) const {
    const Lock lock(file("standin-state.lock"));
    DockerState state = load();
    const DockerState before = state;
    action(state);
    if (state != before) {
        replaceFile(file("standin-state"), toText(state));
    }
}

void StateFolder::recordCall(const std::string& tool, const Arguments& arguments) const {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    std::string line = std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(now).count()) + "\t" + tool;
    for (const std::string& argument : arguments) {
        line += "\t" + escaped(argument);
    }
    const std::string path = file("standin-calls.log");
    writeAll(File(path, O_WRONLY | O_CREAT | O_APPEND).number(), line + "\n", path);
}

std::vector<StateFolder::Call> StateFolder::calls() const {
    std::vector<Call> result;
    std::istringstream lines(readText(file("standin-calls.log")));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream parts(line);
        std::string part;
        Call call;
        std::getline(parts, part, '\t');
        call.milliseconds = std::stoll(part);
        std::getline(parts, call.tool, '\t');
        // An empty last argument leaves only its tab, so the tabs are counted.
        std::size_t at = line.find('\t', line.find('\t') + 1);
        while (at != std::string::npos) {
            const std::size_t next = line.find('\t', at + 1);
            call.arguments.push_back(unescaped(line.substr(at + 1, next == std::string::npos ? next : next - at - 1)));
            at = next;
        }
        result.push_back(std::move(call));
    }
    return result;
}

} // namespace orvanel::standin
