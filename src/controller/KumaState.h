#pragma once

namespace orvanel {

/// What is known of the Uptime Kuma container.
enum class KumaState {
    stopped,  ///< not running
    starting, ///< running, but its page does not answer yet
    running,  ///< up
    error,    ///< failing, for example restarting again and again
};

} // namespace orvanel
