// The program that the runner's tests start. Its first argument chooses how it behaves. It is plain C++, so that it
// starts fast. Every behaviour that waits ends by itself when the test that started it has ended.

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Arguments = std::vector<std::string>;

const pid_t test = getppid();

void say(const std::string& text, int stream = STDOUT_FILENO) {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = write(stream, text.data() + written, text.size() - written);
        if (count < 0) {
            _exit(99);
        }
        written += static_cast<std::size_t>(count);
    }
}

void waitUntil(const std::function<bool()>& condition) {
    while (!condition()) {
        if (kill(test, 0) != 0) {
            _exit(98);
        }
        usleep(1000);
    }
}

bool exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

int exitWith(const Arguments& arguments) {
    return std::stoi(arguments.at(0));
}

int streams(const Arguments&) {
    say("one ");
    say("two ", STDERR_FILENO);
    say("three");
    return 0;
}

int complain(const Arguments& arguments) {
    say(arguments.at(0), STDERR_FILENO);
    return 1;
}

int countInput(const Arguments&) {
    char byte = 0;
    say(std::to_string(read(STDIN_FILENO, &byte, 1)));
    return 0;
}

int echo(const Arguments& arguments) {
    for (const std::string& argument : arguments) {
        say("[" + argument + "]");
    }
    return 0;
}

int environment(const Arguments&) {
    for (char** variable = environ; *variable != nullptr; ++variable) {
        say(std::string(*variable) + "\n");
    }
    return 0;
}

int descriptors(const Arguments&) {
    for (int fd = 0; fd < 4096; ++fd) {
        if (fcntl(fd, F_GETFD) != -1) {
            say(std::to_string(fd) + " ");
        }
    }
    return 0;
}

/// Prints which signals this process has inherited as blocked or ignored.
int signals(const Arguments&) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("SigBlk:") || line.starts_with("SigIgn:")) {
            say(line + "\n");
        }
    }
    return 0;
}

int session(const Arguments&) {
    say(getsid(0) == getpid() && getpgrp() == getpid() ? "own" : "shared");
    return 0;
}

/// Prints its id, and then stops itself.
int stopItself(const Arguments&) {
    say(std::to_string(getpid()) + " ");
    raise(SIGSTOP);
    return 0;
}

/// Writes SIZE bytes in large blocks: 'x', and 'E' as the last one.
int flood(const Arguments& arguments) {
    auto left = std::stoull(arguments.at(0));
    const std::string block(1 << 20, 'x');
    while (left > block.size()) {
        say(block);
        left -= block.size();
    }
    say(std::string(left - 1, 'x') + "E");
    return 0;
}

int lines(const Arguments& arguments) {
    const auto count = std::stoull(arguments.at(0));
    for (std::uint64_t line = 0; line < count; ++line) {
        say("a line such as tools write while they work, number " + std::to_string(line) + "\n");
    }
    return 0;
}

/// Writes TEXT byte by byte, each one only when the one before has been read.
int drip(const Arguments& arguments) {
    for (const char byte : arguments.at(0)) {
        say(std::string(1, byte));
        waitUntil([] {
            int unread = 0;
            return ioctl(STDOUT_FILENO, FIONREAD, &unread) != 0 || unread == 0;
        });
    }
    return 0;
}

int garbage(const Arguments&) {
    say("a\xff\xfe"
        "b\xc3");
    return 0;
}

/// Runs until a signal ends it.
int stay(const Arguments&) {
    say("ready");
    waitUntil([] { return false; });
    return 0;
}

/// Survives SIGTERM: prints the number of each one, and runs until FILE exists.
int countTerms(const Arguments& arguments) {
    static volatile sig_atomic_t terms = 0;
    signal(SIGTERM, [](int) { terms = terms + 1; });
    say("ready");
    int said = 0;
    waitUntil([&] {
        if (said < terms) {
            said += 1;
            say(" term " + std::to_string(said));
        }
        return exists(arguments.at(0));
    });
    say(" done");
    return 3;
}

/// Prints its id, ignores SIGTERM and runs until FILE exists.
int deaf(const Arguments& arguments) {
    signal(SIGTERM, SIG_IGN);
    say(std::to_string(getpid()) + " ");
    waitUntil([&] { return exists(arguments.at(0)); });
    return 7;
}

/// Ignores SIGTERM, tells when its input has ended, and runs on until FILE exists.
int readInput(const Arguments& arguments) {
    signal(SIGTERM, SIG_IGN);
    say("ready");
    char byte = 0;
    while (read(STDIN_FILENO, &byte, 1) != 0) {
        say(" input");
    }
    say(" end of input");
    waitUntil([&] { return exists(arguments.at(0)); });
    say(" done");
    return 3;
}

/// Closes its streams and runs on until FILE exists.
int closeOutput(const Arguments& arguments) {
    say("last words");
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
    waitUntil([&] { return exists(arguments.at(0)); });
    return 4;
}

/// Ends with status 6 and leaves a grandchild that holds the output until FILE exists; then the grandchild prints "
/// late" and makes FILE.survived. Prints the ids of both first.
int leaveGrandchild(const Arguments& arguments) {
    const std::string& file = arguments.at(0);
    const pid_t grandchild = fork();
    if (grandchild == 0) {
        signal(SIGPIPE, SIG_IGN);
        waitUntil([&] { return exists(file); });
        std::ofstream(file + ".survived").flush();
        say(" late");
        return 0;
    }
    say(std::to_string(getpid()) + " " + std::to_string(grandchild));
    return 6;
}

/// Runs until a signal ends it, with a grandchild that holds the output and ignores SIGTERM.
int stayWithStubbornGrandchild(const Arguments&) {
    if (fork() == 0) {
        signal(SIGTERM, SIG_IGN);
        say("ready");
    }
    waitUntil([] { return false; });
    return 0;
}

/// Ends with status 6 and leaves a grandchild that writes without end and ignores SIGTERM.
int leaveChatterer(const Arguments&) {
    say(std::to_string(getpid()) + " ");
    if (fork() == 0) {
        signal(SIGTERM, SIG_IGN);
        while (true) {
            say(std::string(4096, 'g'));
        }
    }
    return 6;
}

/// Ignores SIGTERM and waits for a grandchild that does not.
int shieldGrandchild(const Arguments&) {
    signal(SIGTERM, SIG_IGN);
    const pid_t grandchild = fork();
    if (grandchild == 0) {
        signal(SIGTERM, SIG_DFL);
        say("ready");
        waitUntil([] { return false; });
    }
    int status = 0;
    waitpid(grandchild, &status, 0);
    say(WIFSIGNALED(status) ? " grandchild was signalled" : " grandchild ended");
    return 5;
}

int endBySignal(const Arguments& arguments) {
    raise(std::stoi(arguments.at(0)));
    return 0;
}

const std::map<std::string, int (*)(const Arguments&)> faces = {
    {"exit", exitWith},
    {"streams", streams},
    {"complain", complain},
    {"count-input", countInput},
    {"echo", echo},
    {"environment", environment},
    {"descriptors", descriptors},
    {"signals", signals},
    {"session", session},
    {"stop-itself", stopItself},
    {"flood", flood},
    {"lines", lines},
    {"drip", drip},
    {"garbage", garbage},
    {"stay", stay},
    {"count-terms", countTerms},
    {"deaf", deaf},
    {"read-input", readInput},
    {"close-output", closeOutput},
    {"leave-grandchild", leaveGrandchild},
    {"leave-chatterer", leaveChatterer},
    {"stay-with-stubborn-grandchild", stayWithStubbornGrandchild},
    {"shield-grandchild", shieldGrandchild},
    {"end-by-signal", endBySignal},
};

} // namespace

int main(int count, char** values) {
    const Arguments arguments(values + 1, values + count);
    const auto face = arguments.empty() ? faces.end() : faces.find(arguments[0]);
    if (face == faces.end()) {
        std::cerr << "unknown behaviour\n";
        return 97;
    }
    return face->second(Arguments(arguments.begin() + 1, arguments.end()));
}
