#include "platform/QuitSignals.h"

#include <atomic>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

namespace orvanel {
namespace {

// A signal handler may run at any moment, so it touches nothing but these.
std::atomic<int> writeEnd{-1};
std::atomic<pid_t> owner{0};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<pid_t>::is_always_lock_free);

void handle(int signal) {
    const int savedErrno = errno;
    if (::getpid() == owner) {
        const char byte = 0;
        // When the socket is full, a request is already waiting in it.
        [[maybe_unused]] const auto written = ::write(writeEnd, &byte, 1);
    } else {
        // A child between fork and exec still has our handler and socket, but the signal is meant for it alone.
        ::signal(signal, SIG_DFL);
        ::raise(signal);
    }
    errno = savedErrno;
}

} // namespace

QuitSignals::QuitSignals()
    : m_handlers{{{SIGTERM, {}, false}, {SIGINT, {}, false}, {SIGHUP, {}, false}}} {
    Q_ASSERT(writeEnd < 0);
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, m_sockets.data()) != 0) {
        qErrnoWarning("Orvanel cannot handle signals, so they will end it at once");
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_sockets[1], QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &QuitSignals::onReadable);
    writeEnd = m_sockets[0];
    owner = ::getpid();
    for (Handler& handler : m_handlers) {
        install(handler);
    }
}

QuitSignals::~QuitSignals() {
    for (const Handler& handler : m_handlers) {
        if (handler.isInstalled) {
            ::sigaction(handler.signal, &handler.before, nullptr);
        }
    }
    writeEnd = -1;
    m_notifier.reset();
    for (const int socket : m_sockets) {
        if (socket >= 0) {
            ::close(socket);
        }
    }
}

void QuitSignals::install(Handler& handler) {
    ::sigaction(handler.signal, nullptr, &handler.before);
    if (handler.before.sa_handler == SIG_IGN) {
        return;
    }
    struct sigaction action {};
    action.sa_handler = handle;
    action.sa_flags = SA_RESTART;
    ::sigemptyset(&action.sa_mask);
    handler.isInstalled = ::sigaction(handler.signal, &action, nullptr) == 0;
}

void QuitSignals::onReadable() {
    std::array<char, 64> bytes{};
    while (::read(m_sockets[1], bytes.data(), bytes.size()) > 0) {
    }
    Q_EMIT quitRequested();
}

} // namespace orvanel
