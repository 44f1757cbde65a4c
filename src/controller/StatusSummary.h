#pragma once

#include "controller/ControllerState.h"

namespace orvanel {

/// The overall health, as the coloured dot shows it.
enum class Health {
    inactive, ///< Docker is not ready, or Uptime Kuma is not running
    allUp,    ///< Uptime Kuma runs and no monitor reports down
    someDown, ///< Uptime Kuma runs and at least one monitor reports down
};

/// A monitor counts as down only if its status is 0; one without a status counts as up.
Health healthOf(DockerState dockerState, KumaState kuma, const QList<MonitorRow>& monitors);

/// The one-line summary shown in the menu and above the cards.
QString statusLineOf(const ControllerState& state);

} // namespace orvanel
