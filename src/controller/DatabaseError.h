#pragma once

#include "backup/BackupManager.h"
#include "controller/ControllerState.h"

namespace orvanel {

/// What to tell of a backup whose database did not pass the check or could not be checked; none when it passed, and
/// without a backup.
std::optional<OpError> databaseError(const std::optional<BackupResult>& backup);

} // namespace orvanel
