#include "task/FastClock.h"

namespace orvanel {

FastClock::FastClock(Clock& clock, int factor)
    : m_clock(clock)
    , m_factor(factor)
    , m_start(clock.now()) {}

Clock::TimePoint FastClock::now() const {
    return m_start + (m_clock.now() - m_start) * m_factor;
}

Clock::WallTime FastClock::wallTime() const {
    return m_clock.wallTime();
}

std::unique_ptr<Clock::Timer> FastClock::callAfter(std::chrono::milliseconds delay, std::function<void()> action) {
    // Never early by this clock's own measure.
    const auto pause = delay / m_factor + std::chrono::milliseconds(delay.count() % m_factor > 0 ? 1 : 0);
    return m_clock.callAfter(pause, std::move(action));
}

} // namespace orvanel
