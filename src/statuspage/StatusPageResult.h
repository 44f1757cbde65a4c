#pragma once

#include "statuspage/Heartbeats.h"

#include <QList>
#include <QString>

#include <cstdint>
#include <optional>
#include <variant>

namespace orvanel {

/// One monitor of the status page, as its latest heartbeat left it, with those before it.
struct MonitorRow {
    std::int64_t id = 0;
    QString name;
    /// The status page group that lists the monitor; empty when the group has no name.
    QString group;
    /// 0 down, 1 up, 2 pending, 3 maintenance; with any other code, or none, the status is unknown.
    std::optional<std::int64_t> status;
    /// Response time in milliseconds.
    std::optional<std::int64_t> ping;
    /// Uptime of the last 24 hours, from 0 to 1.
    std::optional<double> uptime24;
    /// The last heartbeats whose status is known, in the order of their times.
    Heartbeats beats = {};

    bool operator==(const MonitorRow&) const = default;
};

/// A status page as it was read: its monitors in the page's order.
struct StatusPageData {
    QString title;
    QList<MonitorRow> monitors;

    bool operator==(const StatusPageData&) const = default;
};

/// Why a status page could not be read: one complete sentence for the user.
struct StatusPageError {
    QString message;

    bool operator==(const StatusPageError&) const = default;
};

/// What the web page of a server says of how far the server is. Source: Uptime Kuma 2.5.3.
enum class PageAnswer {
    none,       ///< no answer, or a failure: the server is not there yet
    strange,    ///< a page, but not that of a server that has started
    converting, ///< the page of the small server that stands in while the data is converted for a new version
    usual,      ///< the server has started
};

using StatusPageResult = std::variant<StatusPageData, StatusPageError>;

} // namespace orvanel
