#pragma once

#include "task/Clock.h"
#include "task/Event.h"

#include <QCoro/QCoroTask>

#include <memory>
#include <optional>

namespace orvanel {

/// Watches the commands that bring the container up: the end of the program waits for the one under way, and from then
/// on allows no other, because what stops the container must have the last word. Main thread only.
class BringUp {
public:
    /// `clock` must outlive this.
    explicit BringUp(Clock& clock);

    /// A command that brings the container up is under way until the last copy of what this returns is gone.
    std::shared_ptr<const void> begin();
    /// Whether the container has been brought up, or is just being, since it was last looked at.
    bool mayBeComingUp() const { return m_end.has_value(); }
    /// The container was looked at.
    void forget() { m_end.reset(); }

    /// The end of the command under way, or of half a minute. Only one may wait for it.
    QCoro::Task<void> end() const;

    /// Whether the program ends.
    bool isForbidden() const { return m_isForbidden; }
    void forbid() { m_isForbidden = true; }
    void allow() { m_isForbidden = false; }

private:
    Clock& m_clock;
    std::optional<Event<>> m_end;
    bool m_isForbidden = false;
};

} // namespace orvanel
