#pragma once

#include "Answer.h"
#include "DockerState.h"

#include <string>

namespace orvanel::standin {

/// What the arguments after "run" ask for.
struct RunOrder {
    Container container;
    /// The tool's, if it would refuse the arguments.
    std::string complaint;
};

/// Throws std::runtime_error with the complaint about a port.
RunOrder runOrder(Client client, const Arguments& arguments);

} // namespace orvanel::standin
