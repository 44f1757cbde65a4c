#pragma once

#include "controller/MonitorTransitions.h"
#include "statuspage/StatusPageClient.h"
#include "task/Clock.h"

namespace orvanel::test {

/// What a ControllerWatch knows about the readings of the status page: which news they are worth, worked out in another
/// way than the controller does it.
class ReadingsWatch {
public:
    /// Whether a reading may begin. After that, no other one may begin for a while.
    [[nodiscard]] bool mayBegin(Clock::TimePoint now);
    void ends(const StatusPageResult& result);
    /// Call it when another page is read from now on.
    void forget();

    const QList<MonitorNews>& expectedNews() const { return m_expectedNews; }
    const QList<MonitorRow>& lastRows() const { return m_lastRows; }

private:
    std::optional<Clock::TimePoint> m_lastRead;
    MonitorStatuses m_baseline;
    bool m_hasBaseline = false;
    QList<MonitorNews> m_expectedNews;
    QList<MonitorRow> m_lastRows;
};

} // namespace orvanel::test
