#pragma once

#include "controller/ControllerState.h"

#include <exception>
#include <optional>

namespace orvanel {

struct CommandResult;

/// Why an operation failed, and what can be offered to the user to get past it.
struct Failure {
    OpError error;
    std::optional<int> suggestedPort = {};
};

/// How an operation ended; none means success.
using Outcome = std::optional<Failure>;

Failure failed(const QString& message, const QString& details = {});

/// The failure of a docker command: a sentence for the user, and the command's output.
Failure failed(const CommandResult& result);

/// The failure that an exception stands for.
Failure failed(const std::exception& thrown);

} // namespace orvanel
