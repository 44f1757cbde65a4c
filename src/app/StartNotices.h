#pragma once

#include "platform/SingleInstance.h"

namespace orvanel {

/// What a second start tells its user in a message box. Call these functions before the program's event loop runs, when
/// there is an application object. Both run an event loop of their own.

/// Says that another copy, which cannot be reached, uses the same data. Returns when the user has read it.
void tellThatDataIsInUse();

/// Waits for the copy that is leaving, and shows a message if that takes longer than two seconds. See
/// SingleInstance::waitForEnd(). Ends the process if the user does not want to wait.
SingleInstance::Outcome waitForLeavingCopy(SingleInstance& instance);

} // namespace orvanel
