#include "process/ChildProcess.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <string>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <sys/wait.h>
#include <vector>

namespace orvanel {
namespace {

/// The null-terminated list of C strings that the system wants.
class StringVector {
public:
    void add(const QString& text) { m_texts.push_back(text.toUtf8().toStdString()); }

    char* const* pointers() {
        m_pointers.clear();
        for (std::string& text : m_texts) {
            m_pointers.push_back(text.data());
        }
        m_pointers.push_back(nullptr);
        return m_pointers.data();
    }

    /// A zero byte would silently cut the text short.
    bool hasZeroByte() const {
        return std::any_of(m_texts.begin(), m_texts.end(),
                           [](const std::string& text) { return text.find('\0') != std::string::npos; });
    }

private:
    std::vector<std::string> m_texts;
    std::vector<char*> m_pointers;
};

/// What the child changes before it runs the program. These calls fail only if memory runs out, which ends Orvanel
/// anyway.
class SpawnPlan {
public:
    /// `input`: the reading end of a pipe, or -1 for the null device.
    SpawnPlan(int input, int output) {
        ::posix_spawn_file_actions_init(&m_actions);
        // The null device comes after the pipe, which may have the number 0 if Orvanel was started without streams.
        ::posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO);
        ::posix_spawn_file_actions_adddup2(&m_actions, output, STDERR_FILENO);
        if (input >= 0) {
            ::posix_spawn_file_actions_adddup2(&m_actions, input, STDIN_FILENO);
        } else {
            ::posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        }
        ::posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);

        ::posix_spawnattr_init(&m_attributes);
        // A new session brings a process group of its own. It has no terminal: a child that asked something there would
        // be stopped, as it runs in the background.
        ::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        sigset_t signals{};
        sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&m_attributes, &signals);
        sigfillset(&signals);
        ::posix_spawnattr_setsigdefault(&m_attributes, &signals);
    }

    ~SpawnPlan() {
        ::posix_spawn_file_actions_destroy(&m_actions);
        ::posix_spawnattr_destroy(&m_attributes);
    }

    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;

    int spawn(pid_t* pid, const QString& path, StringVector& arguments, StringVector& environment) const {
        return ::posix_spawn(pid, QFile::encodeName(path).constData(), &m_actions, &m_attributes, arguments.pointers(),
                             environment.pointers());
    }

private:
    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

FileDescriptor openProcessDescriptor(pid_t pid) {
    return FileDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
}

/// A stopped child receives the SIGTERM only once it is continued.
void terminateFamily(pid_t pid) {
    ::kill(-pid, SIGTERM);
    ::kill(-pid, SIGCONT);
}

FileDescriptor openTicker() {
    FileDescriptor ticker(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK));
    constexpr timespec period{.tv_sec = 0, .tv_nsec = 10'000'000};
    const itimerspec schedule{.it_interval = period, .it_value = period};
    ::timerfd_settime(ticker.get(), 0, &schedule, nullptr);
    return ticker;
}

} // namespace

ChildProcess::ChildProcess(std::function<void()> onTerminate)
    : m_onTerminate(std::move(onTerminate)) {}

int ChildProcess::start(const QString& path, const QStringList& arguments, const QMap<QString, QString>& environment,
                        ChildInput input) {
    StringVector argumentTexts;
    argumentTexts.add(path);
    for (const QString& argument : arguments) {
        argumentTexts.add(argument);
    }
    StringVector environmentTexts;
    for (auto it = environment.cbegin(); it != environment.cend(); ++it) {
        environmentTexts.add(it.key() + u'=' + it.value());
    }
    if (argumentTexts.hasZeroByte() || environmentTexts.hasZeroByte()) {
        return EINVAL;
    }

    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return errno;
    }
    FileDescriptor output(ends[0]);
    FileDescriptor childsEnd(ends[1]);
    ::fcntl(output.get(), F_SETFL, O_NONBLOCK);
    int inputEnds[2] = {-1, -1};
    if (input == ChildInput::openPipe && ::pipe2(inputEnds, O_CLOEXEC) != 0) {
        return errno;
    }
    const FileDescriptor childsInput(inputEnds[0]);
    FileDescriptor ourInput(inputEnds[1]);

    pid_t pid = 0;
    const SpawnPlan plan(childsInput.get(), childsEnd.get());
    if (const int error = plan.spawn(&pid, path, argumentTexts, environmentTexts); error != 0) {
        return error;
    }
    // Closed first, so that its number is free for the next descriptor even if no other is left.
    childsEnd.reset();
    m_output = std::move(output);
    m_end = openProcessDescriptor(pid);
    if (!m_end.isOpen()) {
        // Kernels before 5.3 and some sandboxes have no pidfd_open.
        m_endIsPolled = true;
        m_end = openTicker();
    }
    bool isTerminated = false;
    {
        const std::lock_guard lock(m_mutex);
        m_pid = pid;
        m_input = std::move(ourInput);
        isTerminated = m_terminateWanted;
    }
    if (isTerminated) {
        terminate();
    }
    return 0;
}

bool ChildProcess::hasEnded() const {
    if (m_endIsPolled) {
        std::uint64_t ticks = 0;
        while (::read(m_end.get(), &ticks, sizeof ticks) > 0) {
        }
    }
    siginfo_t info{};
    return ::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid != 0;
}

void ChildProcess::terminate() {
    {
        const std::lock_guard lock(m_mutex);
        if (m_isOver) {
            return;
        }
        if (m_pid == 0) {
            m_terminateWanted = true;
            return;
        }
        m_input.reset();
        terminateFamily(m_pid);
    }
    m_onTerminate();
}

void ChildProcess::giveUp() {
    m_output.reset();
    const std::lock_guard lock(m_mutex);
    m_isOver = true;
}

std::int32_t ChildProcess::reap() {
    m_output.reset();
    m_end.reset();
    siginfo_t info{};
    const std::lock_guard lock(m_mutex);
    m_isOver = true;
    m_input.reset();
    while (::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED) != 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return info.si_code == CLD_EXITED ? info.si_status : 128 + info.si_status;
}

} // namespace orvanel
