#pragma once

#include "controller/SetupFrame.h"

namespace orvanel {

/// Installs and starts a Docker runtime with Homebrew and Colima. Main thread only; the frame must outlive it.
class RuntimeSetup {
public:
    explicit RuntimeSetup(SetupFrame& frame);

    /// Installs Colima and the docker tool where they are missing, and starts Colima.
    void installAndStart();
    /// Starts Colima, unless a runtime answers already.
    void start();

private:
    QCoro::Task<Outcome> performInstall(std::stop_token stop);
    QCoro::Task<Outcome> install();
    QCoro::Task<Outcome> startColimaIfNeeded(Container container, std::stop_token stop);
    /// Runs one of the long commands: it can be cancelled, and its output goes to the live log.
    QCoro::Task<CommandResult> command(QString path, QStringList arguments, std::chrono::seconds limit);
    void showStep(const QString& text, const QString& commandLine);

    SetupFrame& m_frame;
};

} // namespace orvanel
