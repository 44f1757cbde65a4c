#include "controller/MonitorTransitions.h"

using namespace Qt::StringLiterals;

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
            news.append({u"%1 is down"_s.arg(row.name), u"Uptime Kuma reports this monitor as down."_s});
        } else if (*before == down && *row.status == up) {
            news.append({u"%1 is back up"_s.arg(row.name), u"This monitor is up again."_s});
        }
    }
    return news;
}

} // namespace orvanel
