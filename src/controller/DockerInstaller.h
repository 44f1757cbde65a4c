#pragma once

#include "controller/SetupFrame.h"

namespace orvanel {

/// Installs Docker with the computer's own package manager, and lets the user use it, through the root helper. Main
/// thread only; the frame must outlive it.
class DockerInstaller {
public:
    explicit DockerInstaller(SetupFrame& frame);

    /// Installs Docker, starts it, and lets the user use it.
    void install();
    /// Adds the user to the group docker, and opens Docker for the present login.
    void join();

private:
    QCoro::Task<Outcome> performInstall(std::stop_token stop);
    QCoro::Task<Outcome> performJoin(std::stop_token stop);
    /// Runs the helper with that verb. `title`: what is shown once the password has been given.
    QCoro::Task<Outcome> help(QString verb, QString title);
    DockerCLI::OutputCallback logWithTitle(const QString& title) const;

    SetupFrame& m_frame;
};

} // namespace orvanel
