#pragma once

#include "controller/MonitorTransitions.h"
#include "controller/StateStore.h"
#include "platform/Notifier.h"
#include "statuspage/StatusPageResult.h"

#include <QCoro/QCoroTask>

namespace orvanel {

/// Reads the status page at most every 30 seconds, publishes its monitors, and posts a notification when one goes down
/// or comes back. Main thread only. What it is given must outlive it, and it must outlive its tasks.
class StatusWatch {
public:
    using Fetch = std::function<QCoro::Task<StatusPageResult>(int port, QString slug)>;

    StatusWatch(StateStore& state, Clock& clock, Notifier& notifier, Fetch fetch);

    /// Reads the page if Uptime Kuma runs, no operation is under way, a page is configured, and the last reading is old
    /// enough.
    QCoro::Task<void> fetchWhenDue();
    /// Call it when another page is configured: the page is then due at once, and its first reading is not news.
    void forget();

private:
    void publish(const StatusPageResult& result);
    void applyTransitions(const QList<MonitorRow>& rows);
    void requestNotificationAuthIfNeeded();

    StateStore& m_state;
    Clock& m_clock;
    Notifier& m_notifier;
    const Fetch m_fetch;
    /// When the page was last requested; none if never.
    std::optional<Clock::TimePoint> m_lastStatusFetch;
    MonitorStatuses m_previousStatus;
    /// Whether m_previousStatus holds a first reading, so that changes count as news.
    bool m_hasBaseline = false;
    bool m_requestedNotificationAuth = false;
};

} // namespace orvanel
