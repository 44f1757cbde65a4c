#pragma once

#include "controller/MonitorTransitions.h"
#include "statuspage/StatusPageClient.h"
#include "task/Clock.h"

namespace orvanel::test {

/// What a ControllerWatch knows about the readings of the status page: which news they are worth, told in another way
/// than the controller does.
class ReadingsWatch {
public:
    /// Whether a reading may begin; from now on none may for a while.
    [[nodiscard]] bool mayBegin(Clock::TimePoint now);
    void ends(const StatusPageResult& result);
    /// Another page is read from now on.
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
