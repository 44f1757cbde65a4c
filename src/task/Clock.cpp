#include "task/Clock.h"

#include "task/Event.h"

#include <QTimer>

namespace orvanel {
namespace {

class QtTimer final : public Clock::Timer {
public:
    QtTimer(std::chrono::milliseconds delay, std::function<void()> action) {
        m_timer.setSingleShot(true);
        m_timer.setTimerType(Qt::PreciseTimer); // the others may fire early, by a twentieth
        m_timer.callOnTimeout(&m_timer, std::move(action));
        m_timer.start(delay);
    }

private:
    QTimer m_timer;
};

} // namespace

Clock::Timer::~Timer() = default;

Clock::~Clock() = default;

SystemClock& SystemClock::instance() {
    static SystemClock clock;
    return clock;
}

Clock::TimePoint SystemClock::now() const {
    return std::chrono::steady_clock::now();
}

Clock::WallTime SystemClock::wallTime() const {
    return std::chrono::system_clock::now();
}

std::unique_ptr<Clock::Timer> SystemClock::callAfter(std::chrono::milliseconds delay, std::function<void()> action) {
    return std::make_unique<QtTimer>(delay, std::move(action));
}

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

QCoro::Task<void> sleepFor(Clock* clock, std::chrono::milliseconds duration, std::stop_token stop) {
    const Event<> awake;
    const auto timer = clock->callAfter(duration, [awake] { awake.complete(); });
    const std::stop_callback onStop(stop, [awake] { awake.complete(); });
    co_await awake;
}

} // namespace orvanel
