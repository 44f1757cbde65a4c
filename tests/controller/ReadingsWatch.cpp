#include "ReadingsWatch.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel::test {

bool ReadingsWatch::mayBegin(Clock::TimePoint now) {
    const bool may = !m_lastRead || now - *m_lastRead >= 30s;
    m_lastRead = now;
    return may;
}

void ReadingsWatch::ends(const StatusPageResult& result) {
    const auto* page = std::get_if<StatusPageData>(&result);
    if (page == nullptr) {
        m_lastRows.clear();
        return;
    }
    MonitorStatuses next;
    for (const MonitorRow& row : page->monitors) {
        if (!row.status) {
            continue;
        }
        next[row.id] = *row.status;
        const std::int64_t before = m_baseline.value(row.id, -1);
        if (m_hasBaseline && before == 1 && row.status == 0) {
            m_expectedNews.append({row.name + u" is down"_s, u"Uptime Kuma reports this monitor as down."_s});
        } else if (m_hasBaseline && before == 0 && row.status == 1) {
            m_expectedNews.append({row.name + u" is back up"_s, u"This monitor is up again."_s});
        }
    }
    m_baseline = next;
    m_hasBaseline = true;
    m_lastRows = page->monitors;
}

void ReadingsWatch::forget() {
    m_lastRead.reset();
    m_baseline.clear();
    m_hasBaseline = false;
    m_lastRows.clear();
}

} // namespace orvanel::test
