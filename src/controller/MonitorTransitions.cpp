#include "controller/MonitorTransitions.h"

namespace orvanel {
namespace {

constexpr std::int64_t down = 0;
constexpr std::int64_t up = 1;

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
            news.append({QStringLiteral("%1 is down").arg(row.name),
                         QStringLiteral("Uptime Kuma reports this monitor as down.")});
        } else if (*before == down && *row.status == up) {
            news.append({QStringLiteral("%1 is back up").arg(row.name), QStringLiteral("This monitor is up again.")});
        }
    }
    return news;
}

} // namespace orvanel
