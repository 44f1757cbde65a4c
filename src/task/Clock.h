#pragma once

#include <QCoro/QCoroTask>

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>

namespace orvanel {

/// Time as the program sees it. Tests put a clock in its place that they set themselves.
class Clock {
public:
    /// Monotonic time: it is never set back, and goes on while the computer sleeps.
    using TimePoint = std::chrono::steady_clock::time_point;
    /// Time of day. Only for showing to people: it may be set back.
    using WallTime = std::chrono::system_clock::time_point;

    /// A pending call of callAfter(). Destroying it on the thread that made it cancels the call.
    class Timer {
    public:
        Timer() = default;
        virtual ~Timer();
        Timer(const Timer&) = delete;
        Timer& operator=(const Timer&) = delete;
    };

    Clock() = default;
    virtual ~Clock();
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;

    virtual TimePoint now() const = 0;
    virtual WallTime wallTime() const = 0;

    /// Calls `action` once, `delay` from now, from the event loop of the calling thread, unless the returned timer
    /// is destroyed before. While the computer sleeps the delay stands still, so that a download's time limit, say,
    /// does not run out in the meantime. May be called from any thread that runs a Qt event loop.
    [[nodiscard]] virtual std::unique_ptr<Timer> callAfter(std::chrono::milliseconds delay,
                                                           std::function<void()> action) = 0;
};

/// The computer's own clock.
class SystemClock final : public Clock {
public:
    /// One for the whole program; it has no state.
    static SystemClock& instance();

    TimePoint now() const override;
    WallTime wallTime() const override;
    std::unique_ptr<Timer> callAfter(std::chrono::milliseconds delay, std::function<void()> action) override;
};

/// A clock that runs `factor` times as fast as another. The time of day stays that of the other.
class FastClock final : public Clock {
public:
    /// `clock` must outlive this one.
    FastClock(Clock& clock, int factor);

    TimePoint now() const override;
    WallTime wallTime() const override;
    std::unique_ptr<Timer> callAfter(std::chrono::milliseconds delay, std::function<void()> action) override;

private:
    Clock& m_clock;
    const int m_factor;
    const TimePoint m_start;
};

/// Ends when `duration` has passed on `clock`, or earlier when `stop` is requested (from any thread).
/// `clock` must outlive the sleep.
QCoro::Task<void> sleepFor(Clock* clock, std::chrono::milliseconds duration, std::stop_token stop = {});

} // namespace orvanel
