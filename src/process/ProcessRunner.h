#pragma once

#include "process/DockerCLI.h"
#include "task/Clock.h"
#include "task/Event.h"

#include <memory>

namespace orvanel {

class IoThread;
struct RunRequest;

/// Runs children on one I/O thread of its own, which starts with the first run and serves all of them.
class ProcessRunner {
public:
    /// Time limits are measured on `clock`, which must outlive the runner.
    explicit ProcessRunner(Clock* clock);
    /// Runs that have not ended by now never end: their children are left alone, and nobody who awaits them is resumed.
    ~ProcessRunner();
    ProcessRunner(const ProcessRunner&) = delete;
    ProcessRunner& operator=(const ProcessRunner&) = delete;

    /// The program's own runner, on the computer's clock. Its thread ends with the application object, without waiting
    /// for children.
    static ProcessRunner& shared();

    /// See DockerCLI::run(). Called from any thread that runs an event loop, where it also ends.
    QCoro::Task<CommandResult> run(QString path, QStringList arguments, std::chrono::duration<double> timeout,
                                   std::shared_ptr<ProcessHandle> handle = {}, DockerCLI::OutputCallback onOutput = {});
    /// See DockerCLI::runToItsEnd().
    QCoro::Task<CommandResult> runToItsEnd(QString path, QStringList arguments, std::chrono::duration<double> timeout,
                                           std::shared_ptr<ProcessHandle> handle = {},
                                           DockerCLI::OutputCallback onOutput = {});

private:
    QCoro::Task<CommandResult> perform(std::shared_ptr<RunRequest> request);
    void begin(RunRequest request, Event<CommandResult> ended);

    Clock* const m_clock;
    const std::unique_ptr<IoThread> m_io;
};

} // namespace orvanel
