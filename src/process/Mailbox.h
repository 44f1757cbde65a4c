#pragma once

#include "process/FileDescriptor.h"

#include <functional>
#include <mutex>
#include <vector>

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

} // namespace orvanel
