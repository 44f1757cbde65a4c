#pragma once

#include "process/DockerCLI.h"
#include "task/Clock.h"
#include "task/Event.h"

#include <memory>

namespace orvanel {

class IoThread;
struct RunRequest;

/// Runs children on one I/O thread of its own, which starts with the first run. No thread waits for a single child.
class ProcessRunner {
public:
    /// Time limits are measured on `clock`, which must outlive the runner.
    explicit ProcessRunner(Clock* clock);
    /// Runs that have not ended never do: their children are left alone, and whoever awaits them waits for ever.
    ~ProcessRunner();
    ProcessRunner(const ProcessRunner&) = delete;
    ProcessRunner& operator=(const ProcessRunner&) = delete;

    /// The program's runner, on the machine's own clock. It lives until the application object goes, which does not
    /// wait for children.
    static ProcessRunner& shared();

    /// See DockerCLI::run(). Called from any thread that runs an event loop, where it also ends.
    QCoro::Task<CommandResult> run(QString path, QStringList arguments, std::chrono::duration<double> timeout,
                                   std::shared_ptr<ProcessHandle> handle = {}, DockerCLI::OutputCallback onOutput = {});

private:
    void begin(RunRequest request, Event<CommandResult> ended);

    Clock* const m_clock;
    const std::unique_ptr<IoThread> m_io;
};

} // namespace orvanel
