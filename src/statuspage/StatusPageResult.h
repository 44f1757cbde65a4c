#pragma once

#include "statuspage/MonitorRow.h"

#include <variant>

namespace orvanel {

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

using StatusPageResult = std::variant<StatusPageData, StatusPageError>;

} // namespace orvanel
