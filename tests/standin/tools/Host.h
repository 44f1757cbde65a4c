#pragma once

#include "DockerState.h"

#include <optional>
#include <string>

namespace orvanel::standin {

/// What the stand-in tools use outside their state. The functions are called with the state locked, so they must be
/// quick.
class Host {
public:
    Host() = default;
    virtual ~Host() = default;
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    virtual std::optional<std::string> readFile(const std::string& path) = 0;

    /// Whether any program listens on that port of 127.0.0.1.
    virtual bool isPortTaken(int port) = 0;

    /// Starts `program` as the container's server; its output goes to the container's log. Throws std::runtime_error if
    /// it cannot be started.
    virtual ServerProcess startServer(const std::string& program, int port, const std::string& folder) = 0;
    virtual bool isAlive(const ServerProcess& server) = 0;
    /// Sends SIGTERM, or SIGKILL if `atOnce`, to that process only; does nothing if it has ended.
    virtual void endServer(const ServerProcess& server, bool atOnce) = 0;

    virtual std::string serverLog() = 0;
    virtual void clearServerLog() = 0;

    /// Installs a tool beside brew. Throws std::runtime_error if that fails.
    virtual void installTool(const std::string& tool, const std::string& fromFolder) = 0;
};

} // namespace orvanel::standin
