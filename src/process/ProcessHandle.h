#pragma once

#include <memory>
#include <mutex>

namespace orvanel {

/// A child of the runner that can be asked to end. Called from any thread, at any time, also after its end.
class RunningProcess {
public:
    RunningProcess() = default;
    virtual ~RunningProcess();
    RunningProcess(const RunningProcess&) = delete;
    RunningProcess& operator=(const RunningProcess&) = delete;

    /// Sends SIGTERM to the child's whole process group; once its run has ended, nothing. While the run only waits for
    /// what a grandchild has to say, this also lets it end.
    virtual void terminate() = 0;
};

/// Cancels a run from another place and thread than the one that started it. Shared between both.
/// Once cancelled it stays cancelled: every later run that is given this handle ends at once as cancelled.
class ProcessHandle {
public:
    /// Marks the handle as cancelled and asks its child, if one is running, to terminate.
    void cancel();
    bool isCancelled() const;

    /// For the runner, just before it starts a child: the one that cancel() is to terminate from now on, instead of any
    /// earlier one. Answers false when the handle has been cancelled already; the runner then starts nothing. A
    /// cancel() that comes before the child is there reaches it as soon as it is, so that none is lost.
    bool setProcess(std::shared_ptr<RunningProcess> process);

private:
    mutable std::mutex m_lock;
    std::shared_ptr<RunningProcess> m_process;
    bool m_cancelled = false;
};

} // namespace orvanel
