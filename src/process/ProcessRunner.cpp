#include "process/ProcessRunner.h"

#include "process/IoThread.h"
#include "process/ProcessRun.h"
#include "task/Clock.h"

#include <QCoreApplication>

namespace orvanel {

ProcessRunner::ProcessRunner(Clock* clock)
    : m_clock(clock)
    , m_io(std::make_unique<IoThread>()) {}

ProcessRunner::~ProcessRunner() = default;

ProcessRunner& ProcessRunner::shared() {
    // Never deleted, because runs may still be pending when the program ends. The thread ends with the application
    // object, as long as the parts of Qt that it uses exist.
    static ProcessRunner* const runner = [] {
        qAddPostRoutine([] { shared().m_io->stop(); });
        return new ProcessRunner(&SystemClock::instance());
    }();
    return *runner;
}

QCoro::Task<CommandResult> ProcessRunner::run(QString path, QStringList arguments,
                                              std::chrono::duration<double> timeout,
                                              std::shared_ptr<ProcessHandle> handle,
                                              DockerCLI::OutputCallback onOutput) {
    return perform(std::make_shared<RunRequest>(
        RunRequest{std::move(path), std::move(arguments), timeout, std::move(handle), std::move(onOutput)}));
}

QCoro::Task<CommandResult> ProcessRunner::runToItsEnd(QString path, QStringList arguments,
                                                      std::chrono::duration<double> timeout,
                                                      std::shared_ptr<ProcessHandle> handle,
                                                      DockerCLI::OutputCallback onOutput) {
    return perform(std::make_shared<RunRequest>(RunRequest{
        std::move(path), std::move(arguments), timeout, std::move(handle), std::move(onOutput), ChildInput::openPipe}));
}

QCoro::Task<CommandResult> ProcessRunner::perform(std::shared_ptr<RunRequest> request) {
    if (request->handle && request->handle->isCancelled()) {
        co_return cancelledBeforeStart();
    }
    if (const int error = m_io->start(); error != 0) {
        co_return couldNotRun(request->path, error);
    }
    const Event<CommandResult> ended;
    begin(std::move(*request), ended);
    auto result = co_await ended;
    co_return result;
}

void ProcessRunner::begin(RunRequest request, Event<CommandResult> ended) {
    const auto run = std::make_shared<ProcessRun>(m_io.get(), m_clock, std::move(request), std::move(ended));
    m_io->mailbox()->post([run] { run->start(); });
}

} // namespace orvanel
