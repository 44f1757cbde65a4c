#pragma once

#include "process/FileDescriptor.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

class QEventLoop;

namespace orvanel {

/// Actions that any thread posts to one thread, which is woken through a descriptor. The mailbox may outlive that
/// thread; actions that are posted then never run.
class Mailbox {
public:
    Mailbox();

    void post(std::function<void()> action);

    /// Readable while there are actions; -1 if the system refused a descriptor.
    int descriptor() const { return m_wake.get(); }
    std::vector<std::function<void()>> takeAll();

private:
    const FileDescriptor m_wake;
    std::mutex m_mutex;
    std::vector<std::function<void()>> m_actions;
};

/// An object that is told, on the I/O thread, when a descriptor is readable or hung up.
class DescriptorWatcher {
public:
    DescriptorWatcher() = default;
    virtual ~DescriptorWatcher();
    DescriptorWatcher(const DescriptorWatcher&) = delete;
    DescriptorWatcher& operator=(const DescriptorWatcher&) = delete;

    /// Returns how many bytes it read.
    virtual std::size_t ready(int descriptor) = 0;
};

/// The one thread that waits for all children. It runs a Qt event loop, so that a Clock works on it. A single notifier
/// serves all watched descriptors, so that one wake-up serves everything that is ready.
class IoThread {
public:
    IoThread();
    ~IoThread();
    IoThread(const IoThread&) = delete;
    IoThread& operator=(const IoThread&) = delete;

    /// Starts the thread unless it runs already. Returns 0 or an error number. May be called from any thread.
    int start();
    /// Ends the thread and waits for its end. What it watched stays as it is. The thread cannot be started again.
    void stop();

    /// Where other threads post actions to this one.
    const std::shared_ptr<Mailbox>& mailbox() const { return m_mailbox; }

    /// Only called on the thread itself. A watcher is kept alive as long as it watches.
    void watch(int descriptor, std::shared_ptr<DescriptorWatcher> watcher);
    void unwatch(int descriptor);

private:
    void runLoop();
    void dispatch();
    std::size_t serveReady();

    std::shared_ptr<Mailbox> m_mailbox;
    FileDescriptor m_epoll;
    std::mutex m_startMutex;
    std::thread m_thread;
    QEventLoop* m_loop = nullptr;
    /// Whether the last turn read something, but only a little.
    bool m_readLittle = false;
    std::unordered_map<int, std::shared_ptr<DescriptorWatcher>> m_watchers;
};

} // namespace orvanel
