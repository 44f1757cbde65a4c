#pragma once

#include "controller/ControllerState.h"
#include "statuspage/StatusPageResult.h"

#include <optional>

namespace orvanel {

/// The one-line summary shown in the menu and above the cards.
QString statusLineOf(const std::optional<QString>& busy, DockerState dockerState, KumaState kuma,
                     const QList<MonitorRow>& monitors);

} // namespace orvanel
