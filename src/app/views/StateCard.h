#pragma once

#include "controller/ControllerState.h"

#include <QString>

#include <optional>

namespace orvanel {

/// The one card that the main window shows for the controller's state.
enum class StateCard { setup, dockerMissing, dockerNotRunning, pull, busy, start, dashboard };

/// The first that fits: setup, Docker's trouble, download, operation, stopped, running.
StateCard stateCardFor(const std::optional<QString>& setupBusy, DockerState dockerState, bool pulling,
                       const std::optional<QString>& busy, KumaState kuma);

} // namespace orvanel
