#pragma once

#include "Host.h"

#include <string>

namespace orvanel::standin {

/// The host of the stand-in executables: real files, ports and processes.
class RealHost final : public Host {
public:
    /// The server's log is written to `stateFolder`; `toolFolder` holds the tool that runs.
    RealHost(std::string stateFolder, std::string toolFolder);

    std::optional<std::string> readFile(const std::string& path) override;
    bool isPortTaken(int port) override;
    ServerProcess startServer(const std::string& program, int port, const std::string& folder) override;
    bool isAlive(const ServerProcess& server) override;
    void endServer(const ServerProcess& server, bool atOnce) override;
    std::string serverLog() override;
    void clearServerLog() override;
    void installTool(const std::string& tool, const std::string& fromFolder) override;

private:
    std::string logPath() const { return m_stateFolder + "/container.log"; }

    std::string m_stateFolder;
    std::string m_toolFolder;
};

} // namespace orvanel::standin
