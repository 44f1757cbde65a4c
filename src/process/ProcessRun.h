#pragma once

#include "process/ChildProcess.h"
#include "process/DockerCLI.h"
#include "process/IoThread.h"
#include "process/OutputBuffer.h"
#include "task/Clock.h"
#include "task/Event.h"

namespace orvanel {

/// The result of a program that could not be started; `error` is the system's error number.
CommandResult couldNotRun(const QString& path, int error);
/// The result of a run whose handle was cancelled before there was a child.
CommandResult cancelledBeforeStart();

/// What a caller asks for. DockerCLI::run() explains the fields.
struct RunRequest {
    QString path;
    QStringList arguments;
    std::chrono::duration<double> timeout{};
    std::shared_ptr<ProcessHandle> handle;
    DockerCLI::OutputCallback onOutput;
    /// A child with an open pipe is waited for until it ends by itself.
    ChildInput input = ChildInput::nullDevice;
};

/// One run from its start to its result, all on the I/O thread.
///
/// It ends when the child has ended and the pipe is at its end. If a grandchild holds the pipe open longer, the run
/// goes on reading until its time limit or a cancel. If the child ignores SIGTERM, the run ends without it, unless its
/// input is a pipe; then this object stays only to reap the child.
class ProcessRun final : public DescriptorWatcher, public std::enable_shared_from_this<ProcessRun> {
public:
    ProcessRun(IoThread* io, Clock* clock, RunRequest request, Event<CommandResult> ended);

    void start();
    std::size_t ready(int descriptor) override;

private:
    std::function<void()> later(void (ProcessRun::*step)());
    void timeLimitReached();
    void terminateAsked();
    void childEnded();
    void patienceEnded();
    std::size_t readOutput();
    std::size_t readChunk();
    void closeOutput();
    bool mayLinger() const;
    void finish(std::int32_t status);

    IoThread* const m_io;
    Clock* const m_clock;
    const RunRequest m_request;
    const Event<CommandResult> m_ended;
    std::shared_ptr<ChildProcess> m_child;
    std::unique_ptr<Clock::Timer> m_timeLimit;
    std::unique_ptr<Clock::Timer> m_patience;
    OutputBuffer m_output;
    bool m_outputIsOpen = false;
    bool m_childHasEnded = false;
    bool m_isPastLimit = false;
    bool m_timedOut = false;
    bool m_isFinished = false;
};

} // namespace orvanel
