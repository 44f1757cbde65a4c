#include "process/Mailbox.h"

#include <sys/eventfd.h>

namespace orvanel {

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
    // Before the actions are taken: one that is posted in between then wakes the reader once too often, never too
    // seldom.
    eventfd_t wakes = 0;
    ::eventfd_read(m_wake.get(), &wakes);
    const std::lock_guard lock(m_mutex);
    return std::exchange(m_actions, {});
}

} // namespace orvanel
