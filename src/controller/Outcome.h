#pragma once

#include "controller/ControllerState.h"

#include <exception>
#include <optional>

namespace orvanel {

struct CommandResult;

/// Why an operation failed, and the way out that is offered.
struct Failure {
    OpError error;
    std::optional<int> suggestedPort = {};
};

/// How an operation ended: none is success.
using Outcome = std::optional<Failure>;

Failure failed(const QString& message, const QString& details = {});

/// The failure of a command of docker's: a sentence for the user, and what the command said.
Failure failed(const CommandResult& result);

/// Of what an operation threw.
Failure failed(const std::exception& thrown);

} // namespace orvanel
