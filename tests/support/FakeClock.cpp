#include "support/FakeClock.h"

#include "support/Await.h"
#include "task/Event.h"

#include <algorithm>

namespace orvanel::test {

struct FakeClock::Shared {
    mutable std::mutex mutex;
    TimePoint now = TimePoint(std::chrono::hours(1000));
    WallTime wallTime = WallTime(std::chrono::hours(24 * 365 * 50));
    std::vector<FakeTimer*> timers;

    std::optional<TimePoint> nextDue() const;
};

class FakeClock::FakeTimer final : public Clock::Timer {
public:
    FakeTimer(std::shared_ptr<Shared> shared, TimePoint due, std::function<void()> action)
        : m_due(due)
        , m_shared(std::move(shared))
        , m_action(std::make_shared<std::function<void()>>(std::move(action))) {
        const std::lock_guard lock(m_shared->mutex);
        m_shared->timers.push_back(this);
    }

    ~FakeTimer() override {
        const std::lock_guard lock(m_shared->mutex);
        std::erase(m_shared->timers, this);
    }

    /// Holds the lock, so that the timer cannot be destroyed meanwhile. A destroyed timer's action is not called.
    void post() {
        m_post([weakAction = std::weak_ptr(m_action)] {
            if (const auto action = weakAction.lock()) {
                (*action)();
            }
        });
    }

    TimePoint m_due;

private:
    const std::shared_ptr<Shared> m_shared;
    const std::shared_ptr<std::function<void()>> m_action;
    const PostToThread m_post = postToThisThread();
};

std::optional<Clock::TimePoint> FakeClock::Shared::nextDue() const {
    std::optional<TimePoint> next;
    for (const FakeTimer* timer : timers) {
        next = next ? std::min(*next, timer->m_due) : timer->m_due;
    }
    return next;
}

std::shared_ptr<FakeClock::Shared> FakeClock::makeShared() {
    return std::make_shared<Shared>();
}

Clock::TimePoint FakeClock::now() const {
    const std::lock_guard lock(m_shared->mutex);
    return m_shared->now;
}

Clock::WallTime FakeClock::wallTime() const {
    const std::lock_guard lock(m_shared->mutex);
    return m_shared->wallTime;
}

std::unique_ptr<Clock::Timer> FakeClock::callAfter(std::chrono::milliseconds delay, std::function<void()> action) {
    return std::make_unique<FakeTimer>(m_shared, now() + delay, std::move(action));
}

void FakeClock::advance(std::chrono::milliseconds duration) {
    const TimePoint end = now() + duration;
    while (true) {
        {
            const std::lock_guard lock(m_shared->mutex);
            const auto next = m_shared->nextDue();
            const TimePoint stop = next && *next <= end ? std::max(*next, m_shared->now) : end;
            m_shared->wallTime += std::chrono::duration_cast<WallTime::duration>(stop - m_shared->now);
            m_shared->now = stop;
            if (!next || *next > end) {
                return;
            }
            std::vector<FakeTimer*> due;
            std::erase_if(m_shared->timers, [&](FakeTimer* timer) {
                const bool isDue = timer->m_due <= stop;
                if (isDue) {
                    due.push_back(timer);
                }
                return isDue;
            });
            for (FakeTimer* timer : due) {
                timer->post();
            }
        }
        drainEvents();
    }
}

void FakeClock::sleep(std::chrono::milliseconds duration) {
    const std::lock_guard lock(m_shared->mutex);
    m_shared->now += duration;
    m_shared->wallTime += duration;
    for (FakeTimer* timer : m_shared->timers) {
        timer->m_due += duration;
    }
}

void FakeClock::setWallTime(WallTime time) {
    const std::lock_guard lock(m_shared->mutex);
    m_shared->wallTime = time;
}

int FakeClock::pendingTimers() const {
    const std::lock_guard lock(m_shared->mutex);
    return static_cast<int>(m_shared->timers.size());
}

std::chrono::milliseconds FakeClock::untilNextTimer() const {
    const std::lock_guard lock(m_shared->mutex);
    const auto next = m_shared->nextDue();
    return next ? std::chrono::duration_cast<std::chrono::milliseconds>(*next - m_shared->now)
                : std::chrono::milliseconds(-1);
}

} // namespace orvanel::test
