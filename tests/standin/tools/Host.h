#pragma once

#include "DockerState.h"

#include <optional>
#include <string>

namespace orvanel::standin {

/// What the stand-in tools touch outside their state. The calls come with the state locked, so none may take long.
class Host {
public:
    Host() = default;
    virtual ~Host() = default;
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    virtual std::optional<std::string> readFile(const std::string& path) = 0;

    /// Whether anybody listens on 127.0.0.1 at that port.
    virtual bool isPortTaken(int port) = 0;

    /// Starts `program` as the server of that container; its output goes to the container's log.
    /// Throws std::runtime_error when it cannot be started.
    virtual ServerProcess startServer(const std::string& program, int port, const std::string& folder) = 0;
    virtual bool isAlive(const ServerProcess& server) = 0;
    /// SIGTERM, or SIGKILL when `atOnce`; to that process only, and to nobody when it is gone.
    virtual void endServer(const ServerProcess& server, bool atOnce) = 0;

    virtual std::string serverLog() = 0;
    virtual void clearServerLog() = 0;

    /// Puts a tool beside brew. Throws std::runtime_error when that fails.
    virtual void installTool(const std::string& tool, const std::string& fromFolder) = 0;
};

} // namespace orvanel::standin
