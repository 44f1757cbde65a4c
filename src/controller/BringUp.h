#pragma once

#include "task/Clock.h"
#include "task/Event.h"

#include <QCoro/QCoroTask>

#include <memory>
#include <optional>

namespace orvanel {

/// Watches the commands that bring the container up. When the program ends, it waits for the command under way and
/// allows no other one, because the command that stops the container must come last. Main thread only.
class BringUp {
public:
    /// `clock` must outlive this.
    explicit BringUp(Clock& clock);

    /// Notes that a command that brings the container up is under way, until the last copy of the returned pointer is
    /// gone.
    std::shared_ptr<const void> begin();
    /// Whether a command has brought the container up, or is doing so, since the container was last looked at.
    bool mayBeComingUp() const { return m_end.has_value(); }
    /// Notes that the container was looked at.
    void forget() { m_end.reset(); }

    /// Ends with the command under way, or after half a minute. Only one caller may wait.
    QCoro::Task<void> end() const;

    /// Whether the program is ending.
    bool isForbidden() const { return m_isForbidden; }
    void forbid() { m_isForbidden = true; }
    void allow() { m_isForbidden = false; }

private:
    Clock& m_clock;
    std::optional<Event<>> m_end;
    bool m_isForbidden = false;
};

} // namespace orvanel
