#include "controller/MonitorTransitions.h"

#include "platform/ShortText.h"

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr std::int64_t down = 0;
constexpr std::int64_t up = 1;

/// Notifications cut titles after 200 characters, and a long name must not push out what happened to the monitor.
constexpr qsizetype longestName = 180;

} // namespace

MonitorStatuses statusesOf(const QList<MonitorRow>& rows) {
    MonitorStatuses statuses;
    for (const MonitorRow& row : rows) {
        if (row.status) {
            statuses.insert(row.id, *row.status);
        }
    }
    return statuses;
}

QList<MonitorNews> monitorNews(const MonitorStatuses& previous, const QList<MonitorRow>& rows) {
    QList<MonitorNews> news;
    for (const MonitorRow& row : rows) {
        const auto before = previous.constFind(row.id);
        if (!row.status || before == previous.constEnd()) {
            continue;
        }
        if (*before == up && *row.status == down) {
            news.append({u"%1 is down"_s.arg(shortened(row.name, longestName)),
                         u"Uptime Kuma reports this monitor as down."_s});
        } else if (*before == down && *row.status == up) {
            news.append({u"%1 is back up"_s.arg(shortened(row.name, longestName)), u"This monitor is up again."_s});
        }
    }
    return news;
}

} // namespace orvanel
