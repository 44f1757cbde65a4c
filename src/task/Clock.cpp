#include "task/Clock.h"

#include "task/Event.h"

#include <QTimer>

#include <ctime>

namespace orvanel {
namespace {

class QtTimer final : public Clock::Timer {
public:
    QtTimer(std::chrono::milliseconds delay, std::function<void()> action) {
        m_timer.setSingleShot(true);
        m_timer.setTimerType(Qt::PreciseTimer); // the other types may fire 5 % early
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
    // steady_clock stands still while the computer sleeps.
    timespec time{};
    ::clock_gettime(CLOCK_BOOTTIME, &time);
    return TimePoint(std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
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
    // Rounded up, so that by this clock it is never early.
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
