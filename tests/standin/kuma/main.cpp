// A stand-in for the Uptime Kuma server: `standin-kuma [--address A] [--port N] [--state FOLDER]`.
//
// It answers as the real server does (see Site.cpp): / leads to /dashboard, and the two addresses of a status page
// answer with FOLDER/pages/SLUG.json and FOLDER/heartbeats/SLUG.json. It can be process 1 of a container that contains
// nothing else. By default it listens on 0.0.0.0:3001 and keeps its state in /app/data. With port 0 it chooses a free
// port. The port is written to FOLDER/kuma-port, and each request to a line of FOLDER/kuma-requests.log (see
// Journal.h).
// In the heartbeats, "history:38 uuudu" stands for a list of five, one a minute up to now: u up (after about 38 ms),
// d down, p pending, m maintenance.
//
// FOLDER/kuma-script, which is read again at every request, says how it behaves; without that file it is healthy. Words
// are separated by blanks; in a value, %XX stands for a byte; a line that starts with # is a comment.
//
//   not-ready requests=N ms=N   close the first N requests, and all within N ms of the start, without sending a byte
//   conversion ms=N clearing=N  convert data first that is not converted yet: N ms with a share in the log, then N ms
//                               without. If it is ended meanwhile, every later start fails (see Conversion.h)
//   exit code=N after=MS        end by itself, MS after the start (as a container that crashes again and again)
//   term ignore                 ignore SIGTERM and SIGINT, which otherwise end the program at once
//   term code=N delay=MS        … with this exit code (0), after this time (0)
//   path PATTERN OPTION...      how a path answers, without its query. PATTERN may end in *. The first line that
//   matches
//                               counts
//
// Options of a path; what they do not say is as on the healthy server:
//   times=N                     matches only the first N times
//   status=N  type=T  header=NAME:VALUE  redirect=ADDRESS
//   body=FILE  text=T           the body, from a file in FOLDER or given here (status 200, JSON)
//   size=N  fill=C  endless     a body of N bytes (or K, M, G), or without end, made of one character
//   chunked  until-close        how the end of the body is marked; otherwise by its length
//   length=N  cut=N             claims this length whatever the body; closes after N bytes of the body
//   delay=MS                    waits before the answer
//   drip=MS  drip-body=MS       sends everything, or the body, byte by byte with this pause
//   stall  stall-after=N        never answers; sends nothing more after N bytes of the body (0: after the headers)
//   close  reset                takes the request, then closes without sending a byte, or resets the connection
//   garbage  raw=T              sends something that is not HTTP, or these bytes; then closes
//   endless-head                sends headers without end

#include "Connection.h"
#include "Conversion.h"
#include "Journal.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <thread>

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr int mostConnections = 256;
int signalPipe[2];

struct Options {
    std::string address = "0.0.0.0";
    std::uint16_t port = 3001;
    std::string state = "/app/data";
};

Options optionsOf(int count, char** arguments) {
    Options options;
    for (int i = 1; i + 1 < count; i += 2) {
        const std::string name = arguments[i];
        const std::string value = arguments[i + 1];
        if (name == "--address")
            options.address = value;
        if (name == "--port")
            options.port = static_cast<std::uint16_t>(std::strtoul(value.c_str(), nullptr, 10));
        if (name == "--state")
            options.state = value;
    }
    return options;
}

[[noreturn]] void fail(const char* what) {
    std::perror(what);
    std::exit(1);
}

/// Like a Node server, it may listen on the same port again as soon as it has ended.
int listenOn(const Options& options) {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(options.port);
    if (::inet_pton(AF_INET, options.address.c_str(), &address.sin_addr) != 1) {
        std::fprintf(stderr, "%s is not an IPv4 address\n", options.address.c_str());
        std::exit(64);
    }
    if (::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
        fail("bind");
    if (::listen(listener, SOMAXCONN) != 0)
        fail("listen");
    return listener;
}

int portOf(int listener) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

/// Writes the file under another name and renames it, so that nobody reads half a number.
void writePort(const std::filesystem::path& folder, int port) {
    std::ofstream(folder / "kuma-port.new") << port << '\n';
    std::error_code ignored;
    std::filesystem::rename(folder / "kuma-port.new", folder / "kuma-port", ignored);
}

/// The kernel gives process 1 no default action for these signals, so they are handled here. The byte wakes the main
/// loop.
void onSignal(int) {
    const char byte = 0;
    (void)!::write(signalPipe[1], &byte, 1);
}

void catchSignals() {
    if (::pipe2(signalPipe, O_CLOEXEC) != 0)
        fail("pipe");
    struct sigaction action {};
    action.sa_handler = onSignal;
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGTERM, &action, nullptr);
    ::sigaction(SIGINT, &action, nullptr);
    ::signal(SIGPIPE, SIG_IGN);
}

[[noreturn]] void endAfter(milliseconds delay, int code) {
    std::this_thread::sleep_for(delay);
    ::_exit(code);
}

void obeySignal(const kuma::Script& script, bool isConverting) {
    char byte = 0;
    (void)!::read(signalPipe[0], &byte, 1);
    if (script.termIgnored) {
        return;
    }
    if (isConverting) {
        endAfter(milliseconds(0), 1);
    }
    kuma::logInfo("SERVER", "Shutdown requested");
    endAfter(milliseconds(script.termDelayMs), script.termCode);
}

void tellOfListening(int listener) {
    kuma::logInfo("SERVER", "Listening on:");
    kuma::logInfo("SERVER", "- http://localhost:" + std::to_string(portOf(listener)));
    kuma::logWarning("SERVER", "This is a stand-in: it watches nothing");
}

void accept(kuma::Server& server, int listener) {
    static std::atomic<int> connections = 0;
    const int client = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0) {
        return;
    }
    if (connections >= mostConnections) {
        ::close(client);
        return;
    }
    connections += 1;
    std::thread([&server, client] {
        kuma::serve(server, client);
        connections -= 1;
    }).detach();
}

/// The time until the script ends the program, or until the next step of a conversion; for ever if there is neither.
int waitMs(const kuma::Server& server, const kuma::Script& script) {
    if (server.isConverting) {
        return 20;
    }
    if (!script.exitCode) {
        return -1;
    }
    const auto end = server.started + milliseconds(script.exitAfterMs);
    const auto rest = std::chrono::ceil<milliseconds>(end - steady_clock::now());
    return static_cast<int>(std::max<milliseconds::rep>(rest.count(), 0));
}

} // namespace

int main(int count, char** arguments) {
    const Options options = optionsOf(count, arguments);
    kuma::Server server;
    server.folder = options.state;
    std::error_code ignored;
    std::filesystem::create_directories(server.folder, ignored);
    catchSignals();
    kuma::logInfo("SERVER", "Welcome to Uptime Kuma");
    const int listener = listenOn(options);
    writePort(server.folder, portOf(listener));
    kuma::Conversion conversion(server.folder, server.script());
    server.isConverting = conversion.isUnderWay();
    if (!server.isConverting) {
        tellOfListening(listener);
    }
    while (true) {
        pollfd waiting[] = {{listener, POLLIN, 0}, {signalPipe[0], POLLIN, 0}};
        const int events = ::poll(waiting, 2, waitMs(server, server.script()));
        const kuma::Script script = server.script();
        if (conversion.goOn(std::chrono::duration_cast<milliseconds>(steady_clock::now() - server.started))) {
            server.isConverting = false;
            tellOfListening(listener);
        }
        if (events > 0 && waiting[1].revents != 0) {
            obeySignal(script, server.isConverting);
        }
        if (script.exitCode && waitMs(server, script) == 0) {
            endAfter(milliseconds(0), *script.exitCode);
        }
        if (events > 0 && waiting[0].revents != 0) {
            accept(server, listener);
        }
    }
}
