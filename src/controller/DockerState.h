#pragma once

namespace orvanel {

/// What is known of the Docker runtime.
enum class DockerState {
    unknown,    ///< not probed yet
    missing,    ///< no docker tool was found
    notRunning, ///< the tool exists, but no runtime answers
    ready,      ///< the runtime answers
};

} // namespace orvanel
