#pragma once

#include "controller/Outcome.h"

namespace orvanel {

/// How a run of the root helper through pkexec ended: none when it did what it was asked for, else one sentence for the
/// user, with the output as details. Known by the exit statuses (pkexec(1), helper/SetupStatus.h) and by the words of
/// the package managers in English, in which the helper runs them.
Outcome outcomeOfHelper(const CommandResult& result);

} // namespace orvanel
