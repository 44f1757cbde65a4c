#pragma once

#include "statuspage/StatusPageResult.h"

#include <QMap>

namespace orvanel {

/// One notification about a monitor.
struct MonitorNews {
    QString title;
    QString body;

    bool operator==(const MonitorNews&) const = default;
};

/// The status of every monitor that had one at the last successful reading of the status page.
using MonitorStatuses = QMap<std::int64_t, std::int64_t>;

/// The statuses of `rows`. If an id occurs twice, the later row counts.
MonitorStatuses statusesOf(const QList<MonitorRow>& rows);

/// The news when `rows` follow `previous`: only direct changes from up to down and from down to up, in the order of the
/// rows. A monitor that is not in `previous` is never news.
QList<MonitorNews> monitorNews(const MonitorStatuses& previous, const QList<MonitorRow>& rows);

} // namespace orvanel
