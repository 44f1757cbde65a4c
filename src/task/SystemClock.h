#pragma once

#include "task/Clock.h"

namespace orvanel {

/// The machine's own clock.
class SystemClock final : public Clock {
public:
    /// One for the whole program; it has no state.
    static SystemClock& instance();

    TimePoint now() const override;
    WallTime wallTime() const override;
    std::unique_ptr<Timer> callAfter(std::chrono::milliseconds delay, std::function<void()> action) override;
};

} // namespace orvanel
