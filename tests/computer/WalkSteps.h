#pragma once

#include "AuthenticationAgent.h"
#include "standin/tour/Tour.h"

namespace orvanel::test {

/// What a user meets on a computer, one after the other. Between two parts the user logs out and in, and the computer
/// is changed from outside; see run.
enum class Part {
    /// Neither Docker nor a password agent is there.
    withoutAgent,
    /// Docker is not installed.
    install,
    /// Everything works, after another login.
    again,
    /// Docker's service is stopped.
    service,
    /// The user is not in the group docker.
    group,
    /// The user has a rootless engine of their own, whose service is stopped.
    rootless,
};

std::vector<standin::Step> walkSteps(Part part, AuthenticationAgent& agent);

} // namespace orvanel::test
