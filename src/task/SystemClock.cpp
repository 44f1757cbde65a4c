#include "task/SystemClock.h"

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

} // namespace orvanel
