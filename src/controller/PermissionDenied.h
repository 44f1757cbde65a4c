#pragma once

#include <QString>

namespace orvanel {

/// Whether the docker tool says in `output` that a runtime is there but refuses this user. The user is then not in the
/// docker group yet, or has not logged in again since joining it.
bool isPermissionDenied(const QString& output);

} // namespace orvanel
