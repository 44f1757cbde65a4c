#pragma once

namespace orvanel {

/// Takes nothing over from the caller but its standard streams: not its variables, limits, mask, folder and open files,
/// all of which pkexec hands on. A limit could end a package manager in the middle. False if this is not possible.
bool leaveTheCallersWorld();

} // namespace orvanel
