#pragma once

#include "controller/Outcome.h"
#include "process/ProcessHandle.h"
#include "task/TaskScope.h"

#include <functional>
#include <memory>
#include <stop_token>

namespace orvanel {

/// Runs one operation at a time, and holds its stop token and the handle of its child. Main thread only. `tasks` must
/// outlive the slot, and the slot must outlive its operations.
class OperationSlot {
public:
    using Body = std::function<QCoro::Task<Outcome>(std::stop_token stop)>;
    using End = std::function<void(const Outcome& outcome, const std::stop_token& stop)>;

    explicit OperationSlot(TaskScope& tasks);

    /// Begins `body` and returns true, unless an operation is under way. `ended` is called when the body has ended and
    /// the slot is free again. An exception from the body counts as a failure.
    bool begin(const QString& name, Body body, End ended);

    bool isTaken() const { return m_task.has_value(); }
    /// The number of operations begun so far. A probe uses it to notice an operation that began and ended during the
    /// probe.
    int generation() const { return m_generation; }
    /// The handle for those commands of the operation under way that a cancel may end. Null if there is no operation.
    std::shared_ptr<ProcessHandle> handle() const { return m_handle; }

    /// Asks the operation under way to stop, and its child to end.
    void cancel();
    /// Asks only the child to end; the operation itself goes on.
    void cancelChild();

private:
    QCoro::Task<void> perform(Body body, End ended);

    TaskScope& m_tasks;
    std::optional<std::stop_source> m_task;
    std::shared_ptr<ProcessHandle> m_handle;
    int m_generation = 0;
};

} // namespace orvanel
