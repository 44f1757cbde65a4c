#pragma once

#include <memory>
#include <mutex>

namespace orvanel {

/// A child of the runner that can be asked to end, from any thread and at any time, even after its end.
class RunningProcess {
public:
    RunningProcess() = default;
    virtual ~RunningProcess();
    RunningProcess(const RunningProcess&) = delete;
    RunningProcess& operator=(const RunningProcess&) = delete;

    /// Sends SIGTERM to the child's whole process group, but does nothing once the run has ended. A run that only waits
    /// for a grandchild's output ends then, too.
    virtual void terminate() = 0;
};

/// Cancels a run from another place or thread than the one that started it; both share the handle.
/// A cancelled handle stays cancelled: every later run that is given it ends at once as cancelled.
class ProcessHandle {
public:
    /// Marks the handle as cancelled and asks its child, if one is running, to terminate.
    void cancel();
    bool isCancelled() const;

    /// Called by the runner just before it starts a child: from now on cancel() terminates this one instead of any
    /// earlier one. Returns false if the handle has already been cancelled; the runner then starts nothing. A cancel()
    /// that comes before the child exists reaches it as soon as it does.
    bool setProcess(std::shared_ptr<RunningProcess> process);

private:
    mutable std::mutex m_lock;
    std::shared_ptr<RunningProcess> m_process;
    bool m_cancelled = false;
};

} // namespace orvanel
