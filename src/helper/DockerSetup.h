#pragma once

#include "helper/Computer.h"
#include "helper/SetupStatus.h"

#include <string>
#include <vector>

namespace orvanel {

/// What the root helper was asked for, and by whom.
struct SetupRequest {
    std::vector<std::string> words;
    /// The variable in which pkexec tells who asked for the password, none where it is not set.
    std::optional<std::string> polkitUser;
};

/// The whole work of the root helper, for one verb: "install" (the packages, then all of the following), "start" (the
/// service, now and at each start of the computer) or "join" (the user, into the group docker; and the socket opened
/// for the present login). Prints what it does, and a sentence where it stops early.
///
/// It takes nothing from its caller but the verb: the user is the one whom polkit names. It ends after the step under
/// way when standard input ends or a signal asks for it; see StopRequest.
SetupStatus setUpDocker(const Computer& computer, const SetupRequest& request);

} // namespace orvanel
