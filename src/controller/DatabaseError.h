#pragma once

#include "backup/BackupManager.h"
#include "controller/ControllerState.h"

namespace orvanel {

/// What to tell of a backup whose database did not pass the check; none when it did, and without a backup.
std::optional<OpError> databaseError(const std::optional<BackupResult>& backup);

} // namespace orvanel
