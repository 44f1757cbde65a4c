#include "ToolMain.h"

#include "RealHost.h"
#include "StandInDocker.h"
#include "StateFolder.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>

namespace orvanel::standin {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

/// How long the daemon waits for a container that it stops.
constexpr milliseconds stopPatience = 10s;

/// Waits for one of the blocked signals; returns whether one came within `time`.
bool signalWithin(const sigset_t& signals, milliseconds time) {
    const timespec span{.tv_sec = time.count() / 1000, .tv_nsec = time.count() % 1000 * 1'000'000};
    return sigtimedwait(&signals, nullptr, &span) > 0;
}

/// Carries out one command of one tool, which is a chain of answers.
class Performance {
public:
    Performance(const StateFolder& folder, RealHost& host)
        : m_folder(folder)
        , m_host(host)
        , m_parent(getppid()) {
        sigemptyset(&m_endSignals);
        sigaddset(&m_endSignals, SIGTERM);
        sigaddset(&m_endSignals, SIGINT);
        sigprocmask(SIG_BLOCK, &m_endSignals, nullptr);
    }

    int run(std::function<Answer(DockerState&)> next) {
        bool isFirst = true;
        int exitCode = 0;
        while (next) {
            Answer answer;
            m_folder.change([&](DockerState& state) { answer = next(state); });
            if (isFirst) {
                m_onTerm = answer.onTerm;
                isFirst = false;
            }
            exitCode = answer.exitCode;
            if (!m_isEnded && !perform(answer)) {
                m_isEnded = true;
                write(Stream::err, m_onTerm.err);
                if (!m_onTerm.daemonCarriesOn) {
                    return m_onTerm.exitCode;
                }
            }
            next = std::move(answer.then);
        }
        return m_isEnded ? m_onTerm.exitCode : exitCode;
    }

private:
    /// Returns false if a signal ended it.
    bool perform(const Answer& answer) {
        std::string text;
        Stream stream = Stream::out;
        for (const Piece& piece : answer.pieces) {
            if (piece.stream != stream || piece.before > 0ms) {
                write(stream, text);
                text.clear();
                stream = piece.stream;
            }
            if (!pause(piece.before)) {
                return false;
            }
            text += piece.text;
        }
        write(stream, text);
        return (!answer.hangs || hang()) && waitForEnd(answer.waitFor);
    }

    bool pause(milliseconds time) {
        if (!m_onTerm.ignored) {
            return !signalWithin(m_endSignals, time);
        }
        usleep(static_cast<useconds_t>(time.count() * 1000));
        return true;
    }

    /// Hangs for ever, but ends with its caller, so that no process is left behind.
    bool hang() {
        while (getppid() == m_parent) {
            if (!pause(500ms)) {
                return false;
            }
        }
        return false;
    }

    bool waitForEnd(const ServerProcess& server) {
        milliseconds waited{0};
        while (server.pid != 0 && m_host.isAlive(server) && waited < stopPatience) {
            if (!pause(5ms)) {
                return false;
            }
            waited += 5ms;
        }
        return true;
    }

    static void write(Stream stream, const std::string& text) {
        std::size_t done = 0;
        while (done < text.size()) {
            const ssize_t count =
                ::write(stream == Stream::out ? STDOUT_FILENO : STDERR_FILENO, text.data() + done, text.size() - done);
            if (count < 0 && errno != EINTR) {
                return;
            }
            done += count < 0 ? 0 : static_cast<std::size_t>(count);
        }
    }

    const StateFolder& m_folder;
    RealHost& m_host;
    const pid_t m_parent;
    sigset_t m_endSignals{};
    OnTerm m_onTerm;
    bool m_isEnded = false;
};

/// Client 20 leaves compose to a child and ignores SIGTERM itself, so only a signal to the whole group ends the child.
/// This function returns in the child; the parent ends with the child.
void leaveToPlugIn() {
    sigset_t childEnded;
    sigemptyset(&childEnded);
    sigaddset(&childEnded, SIGCHLD);
    sigprocmask(SIG_BLOCK, &childEnded, nullptr);
    const pid_t caller = getppid();
    const pid_t child = fork();
    if (child == 0) {
        return;
    }
    std::signal(SIGTERM, SIG_IGN);
    int status = 0;
    while (waitpid(child, &status, WNOHANG) == 0) {
        if (!signalWithin(childEnded, 500ms) && getppid() != caller) {
            _exit(1);
        }
    }
    _exit(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
}

} // namespace

int toolMain(const char* tool, int argumentCount, char** argumentValues) {
    try {
        const Arguments arguments(argumentValues + 1, argumentValues + argumentCount);
        const StateFolder folder = StateFolder::ofTool(argumentValues[0]);
        folder.recordCall(tool, arguments);
        const bool isCompose = !arguments.empty() && arguments.front() == "compose";
        if (isCompose && folder.load().client == Client::v20) {
            leaveToPlugIn();
        }
        RealHost host(folder.path(), StateFolder::toolFolder(argumentValues[0]));
        return Performance(folder, host).run([&](DockerState& state) { return answer(tool, state, arguments, host); });
    } catch (const std::exception& error) {
        std::fprintf(stderr, "stand-in %s: %s\n", tool, error.what());
        return 99;
    }
}

} // namespace orvanel::standin
