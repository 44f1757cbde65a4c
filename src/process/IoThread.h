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

/// Actions that any thread leaves for one thread, which is woken through a descriptor. May outlive its reader; what is
/// posted then is dropped with it.
class Mailbox {
public:
    Mailbox();

    void post(std::function<void()> action);

    /// Readable while there are actions; -1 when the system had none left to give.
    int descriptor() const { return m_wake.get(); }
    std::vector<std::function<void()>> takeAll();

private:
    const FileDescriptor m_wake;
    std::mutex m_mutex;
    std::vector<std::function<void()>> m_actions;
};

/// Told on the I/O thread that one of its descriptors is readable or hung up.
class DescriptorWatcher {
public:
    DescriptorWatcher() = default;
    virtual ~DescriptorWatcher();
    DescriptorWatcher(const DescriptorWatcher&) = delete;
    DescriptorWatcher& operator=(const DescriptorWatcher&) = delete;

    /// Answers how many bytes it read.
    virtual std::size_t ready(int descriptor) = 0;
};

/// The one thread that waits for all children. It runs a Qt event loop, so that a Clock works there, in which a single
/// notifier stands for all watched descriptors: one wake-up serves everything that is ready, whatever their number.
class IoThread {
public:
    IoThread();
    ~IoThread();
    IoThread(const IoThread&) = delete;
    IoThread& operator=(const IoThread&) = delete;

    /// Starts the thread unless it runs. Answers 0 or the error number of what the system refused. Any thread.
    int start();
    /// Ends the thread and waits for that; what it watched is left as it is. Not to be started again.
    void stop();

    /// Where any thread leaves actions for this one.
    const std::shared_ptr<Mailbox>& mailbox() const { return m_mailbox; }

    /// Only on the thread itself. A watcher is kept alive as long as it watches.
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
    std::unordered_map<int, std::shared_ptr<DescriptorWatcher>> m_watchers;
};

} // namespace orvanel
