#pragma once

#include "controller/MonitorTransitions.h"
#include "controller/StateStore.h"
#include "platform/Notifier.h"
#include "statuspage/StatusPageResult.h"

#include <QCoro/QCoroTask>

namespace orvanel {

/// Reads the status page at most every 30 seconds, publishes its monitors, and notifies of those that went down or came
/// back. Main thread only; what it is given must outlive it, and it its tasks.
class StatusWatch {
public:
    using Fetch = std::function<QCoro::Task<StatusPageResult>(int port, QString slug)>;

    StatusWatch(StateStore& state, Clock& clock, Notifier& notifier, Fetch fetch);

    /// Reads the page when Uptime Kuma runs, no operation is under way, a page is configured, and it is time.
    QCoro::Task<void> fetchWhenDue();
    /// Another page is configured: its first reading is no news, and due at once.
    void forget();

private:
    void publish(const StatusPageResult& result);
    void applyTransitions(const QList<MonitorRow>& rows);
    void requestNotificationAuthIfNeeded();

    StateStore& m_state;
    Clock& m_clock;
    Notifier& m_notifier;
    const Fetch m_fetch;
    /// When the page was last asked; none stands for the distant past.
    std::optional<Clock::TimePoint> m_lastStatusFetch;
    MonitorStatuses m_previousStatus;
    /// Whether m_previousStatus holds a first reading, so that changes may be told.
    bool m_hasBaseline = false;
    bool m_requestedNotificationAuth = false;
};

} // namespace orvanel
