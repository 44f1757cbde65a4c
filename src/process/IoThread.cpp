#include "process/IoThread.h"

#include <QEventLoop>
#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <system_error>

namespace orvanel {
namespace {

/// A child that writes line by line is slowed down if each line wakes the reader. After two turns running that read
/// only a little, the reader pauses for a moment, in which the next lines gather in the pipe. Most commands write one
/// line and end, so one such turn is no reason to sleep.
constexpr std::size_t fewBytes = 16384;
constexpr std::chrono::microseconds pause{50};

int addToEpoll(int epoll, int descriptor) {
    epoll_event event{.events = EPOLLIN, .data = {.fd = descriptor}};
    return ::epoll_ctl(epoll, EPOLL_CTL_ADD, descriptor, &event) == 0 ? 0 : errno;
}

/// A launcher may have left SIGCHLD ignored. The system would then reap our children itself: we would not learn how
/// they ended, and could signal another process that has got the id of one.
void keepEndedChildren() {
    struct sigaction action {};
    if (::sigaction(SIGCHLD, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) {
        action.sa_handler = SIG_DFL;
        ::sigaction(SIGCHLD, &action, nullptr);
    }
}

} // namespace

Mailbox::Mailbox()
    : m_wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void Mailbox::post(std::function<void()> action) {
    {
        const std::lock_guard lock(m_mutex);
        m_actions.push_back(std::move(action));
        if (m_actions.size() > 1) {
            return;
        }
    }
    ::eventfd_write(m_wake.get(), 1);
}

std::vector<std::function<void()>> Mailbox::takeAll() {
    // The counter is reset before the actions are taken, so an action posted in between wakes the reader once too
    // often. In the opposite order, it might not wake the reader at all.
    eventfd_t wakes = 0;
    ::eventfd_read(m_wake.get(), &wakes);
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_actions, {});
}

DescriptorWatcher::~DescriptorWatcher() = default;

IoThread::IoThread() = default;

IoThread::~IoThread() {
    if (m_thread.joinable()) {
        // This runs on the thread itself, because timers must be destroyed where they were made.
        m_mailbox->post([this] { m_watchers.clear(); });
        stop();
    }
}

int IoThread::start() {
    const std::lock_guard lock(m_startMutex);
    if (m_thread.joinable()) {
        return 0;
    }
    m_mailbox = std::make_shared<Mailbox>();
    m_epoll = FileDescriptor(::epoll_create1(EPOLL_CLOEXEC));
    if (m_mailbox->descriptor() < 0 || !m_epoll.isOpen()) {
        return errno;
    }
    if (const int error = addToEpoll(m_epoll.get(), m_mailbox->descriptor()); error != 0) {
        return error;
    }
    keepEndedChildren();
    try {
        m_thread = std::thread([this] { runLoop(); });
    } catch (const std::system_error& error) {
        return error.code().value();
    }
    return 0;
}

void IoThread::stop() {
    if (!m_thread.joinable()) {
        return;
    }
    m_mailbox->post([this] { m_loop->quit(); });
    m_thread.join();
}

void IoThread::runLoop() {
    QEventLoop loop;
    m_loop = &loop;
    QSocketNotifier notifier(m_epoll.get(), QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [this] { dispatch(); });
    loop.exec();
}

void IoThread::dispatch() {
    const std::size_t bytesRead = serveReady();
    const bool readLittle = bytesRead > 0 && bytesRead < fewBytes;
    if (readLittle && m_readLittle) {
        std::this_thread::sleep_for(pause);
    }
    m_readLittle = readLittle;
}

std::size_t IoThread::serveReady() {
    std::array<epoll_event, 64> events{};
    const int count = ::epoll_wait(m_epoll.get(), events.data(), static_cast<int>(events.size()), 0);
    std::size_t bytesRead = 0;
    bool hasMail = false;
    for (int i = 0; i < count; ++i) {
        const int descriptor = events[static_cast<std::size_t>(i)].data.fd;
        if (descriptor == m_mailbox->descriptor()) {
            hasMail = true;
            continue;
        }
        const auto found = m_watchers.find(descriptor);
        if (found != m_watchers.end()) {
            const std::shared_ptr<DescriptorWatcher> watcher = found->second;
            bytesRead += watcher->ready(descriptor);
        }
    }
    // Last, because a new child may get the number of a descriptor that was closed in this turn, and would take that
    // one's event for its own.
    if (hasMail) {
        for (const auto& action : m_mailbox->takeAll()) {
            action();
        }
    }
    return bytesRead;
}

void IoThread::watch(int descriptor, std::shared_ptr<DescriptorWatcher> watcher) {
    m_watchers[descriptor] = std::move(watcher);
    addToEpoll(m_epoll.get(), descriptor);
}

void IoThread::unwatch(int descriptor) {
    if (m_watchers.erase(descriptor) > 0) {
        ::epoll_ctl(m_epoll.get(), EPOLL_CTL_DEL, descriptor, nullptr);
    }
}

} // namespace orvanel
