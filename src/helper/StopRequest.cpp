#include "helper/StopRequest.h"

#include <csignal>
#include <ctime>
#include <initializer_list>
#include <poll.h>
#include <unistd.h>

namespace orvanel {
namespace {

volatile std::sig_atomic_t signalCame = 0;

void onSignal(int) {
    signalCame = 1;
}

} // namespace

StopRequest::StopRequest() {
    struct sigaction action = {};
    sigemptyset(&action.sa_mask);
    // The caller may have left any signal ignored, and without SIGCHLD no child could be awaited.
    action.sa_handler = SIG_DFL;
    ::sigaction(SIGCHLD, &action, nullptr);
    action.sa_handler = &onSignal;
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        ::sigaction(signal, &action, nullptr);
    }
    action.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &action, nullptr);
    sigset_t none{};
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

bool StopRequest::isMade() {
    wait(0);
    return m_isMade;
}

void StopRequest::wait(int milliseconds) {
    if (m_isMade) {
        const timespec time{.tv_sec = milliseconds / 1000, .tv_nsec = (milliseconds % 1000) * 1'000'000L};
        ::nanosleep(&time, nullptr);
        return;
    }
    // Standard output tells by itself, through POLLERR, that its reader has gone.
    pollfd streams[] = {{.fd = STDIN_FILENO, .events = POLLIN, .revents = 0},
                        {.fd = STDOUT_FILENO, .events = 0, .revents = 0}};
    const int ready = ::poll(streams, 2, milliseconds);
    const bool streamsTell = ready > 0 && (streams[0].revents != 0 || streams[1].revents != 0);
    m_isMade = streamsTell || signalCame != 0;
}

} // namespace orvanel
