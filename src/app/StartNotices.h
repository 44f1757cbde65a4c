#pragma once

#include "platform/SingleInstance.h"

namespace orvanel {

/// What a second start says to its user in a message box. To be called before the event loop of the program runs, with
/// an application object; both run one of their own.

/// Says that a copy that cannot be reached uses the same data; returns when the user has read it.
void tellThatDataIsInUse();

/// Waits for the copy that is leaving, and says so when that takes longer than two seconds. See
/// SingleInstance::waitForEnd(). Ends the process when the user does not want to wait.
SingleInstance::Outcome waitForLeavingCopy(SingleInstance& instance);

} // namespace orvanel
