#pragma once

#include "task/Clock.h"

#include <mutex>
#include <vector>

namespace orvanel::test {

/// A clock that stands still until a test moves it. May be used from any thread.
class FakeClock final : public Clock {
public:
    TimePoint now() const override;
    WallTime wallTime() const override;
    std::unique_ptr<Timer> callAfter(std::chrono::milliseconds delay, std::function<void()> action) override;

    /// Moves the clock on and stops at each timer on the way, in order. There it posts the timer's action to its
    /// thread, and then runs this thread's posted events, so that timers set by those actions count too.
    void advance(std::chrono::milliseconds duration);

    /// The computer sleeps: timers stand still meanwhile.
    void sleep(std::chrono::milliseconds duration);
    /// Somebody sets the clock: only the time of day changes.
    void setWallTime(WallTime time);

    /// The number of pending timers, and the time until the first one (negative if there is none).
    int pendingTimers() const;
    std::chrono::milliseconds untilNextTimer() const;

private:
    class FakeTimer;
    struct Shared;

    const std::shared_ptr<Shared> m_shared = makeShared();
    static std::shared_ptr<Shared> makeShared();
};

} // namespace orvanel::test
