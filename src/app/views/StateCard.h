#pragma once

#include "controller/DockerState.h"
#include "controller/KumaState.h"

#include <QString>

#include <optional>

namespace orvanel {

/// The one card that the main window shows for the controller's state.
enum class StateCard { dockerMissing, dockerNotRunning, pull, busy, start, dashboard };

StateCard stateCardFor(DockerState dockerState, bool pulling, const std::optional<QString>& busy, KumaState kuma);

} // namespace orvanel
