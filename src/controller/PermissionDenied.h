#pragma once

#include <QString>

namespace orvanel {

/// Whether the docker tool says in `output` that a runtime is there, but refuses this user: who then is not in the
/// docker group yet, or has not logged in again since.
bool isPermissionDenied(const QString& output);

} // namespace orvanel
