#pragma once

#include "task/Clock.h"

namespace orvanel {

/// Passes `factor` times as fast as another clock; only the time of day is that clock's own.
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

} // namespace orvanel
