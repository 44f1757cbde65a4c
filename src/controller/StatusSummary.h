#pragma once

#include "controller/ControllerState.h"

namespace orvanel {

/// The one-look summary that the coloured dot shows.
enum class Health {
    inactive, ///< Docker is not ready, or Uptime Kuma is not running
    allUp,    ///< Uptime Kuma runs and no monitor reports down
    someDown, ///< Uptime Kuma runs and at least one monitor reports down
};

/// Monitors without a status, and with any status other than 0 (down), count as up.
Health healthOf(DockerState dockerState, KumaState kuma, const QList<MonitorRow>& monitors);

/// The one-line summary shown in the menu and above the cards.
QString statusLineOf(const std::optional<QString>& busy, DockerState dockerState, KumaState kuma,
                     const QList<MonitorRow>& monitors);

} // namespace orvanel
