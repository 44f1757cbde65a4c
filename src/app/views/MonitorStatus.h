#pragma once

#include "app/widgets/StateColors.h"

#include <cstdint>
#include <optional>

namespace orvanel {

/// How a monitor's latest status code is shown.
struct MonitorStatus {
    QString word;
    Meaning meaning;
};

/// Codes other than 0 to 3, and none, say that nothing is known.
MonitorStatus monitorStatus(std::optional<std::int64_t> code);

} // namespace orvanel
