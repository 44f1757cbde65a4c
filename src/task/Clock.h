#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace orvanel {

/// Time as the program sees it, so that a test can turn the hands itself.
class Clock {
public:
    /// Monotonic time: never set back, stands still while the machine is suspended.
    using TimePoint = std::chrono::steady_clock::time_point;
    /// Time of day, for showing to people only.
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
    /// is destroyed before. May be called from any thread that runs a Qt event loop.
    [[nodiscard]] virtual std::unique_ptr<Timer> callAfter(std::chrono::milliseconds delay,
                                                           std::function<void()> action) = 0;
};

} // namespace orvanel
