#pragma once

#include "controller/Outcome.h"
#include "process/ProcessHandle.h"
#include "task/TaskScope.h"

#include <functional>
#include <memory>
#include <stop_token>

namespace orvanel {

/// Room for one operation at a time: its stop token, the handle of its child, and how many there have been.
/// Main thread only. `tasks` must outlive the slot, and the slot its operations.
class OperationSlot {
public:
    using Body = std::function<QCoro::Task<Outcome>(std::stop_token stop)>;
    using End = std::function<void(const Outcome& outcome, const std::stop_token& stop)>;

    explicit OperationSlot(TaskScope& tasks);

    /// Begins `body` and answers true, unless an operation is under way. `ended` is called when the body has ended and
    /// the slot is free again; what the body throws is a failure like any other.
    bool begin(const QString& name, Body body, End ended);

    bool isTaken() const { return m_task.has_value(); }
    /// The operations begun so far, by which a probe notices one that began and ended while it waited.
    int generation() const { return m_generation; }
    /// For the commands of the operation under way that a cancel may end. Null when there is none.
    std::shared_ptr<ProcessHandle> handle() const { return m_handle; }

    /// Asks the operation under way to stop, and its child to end.
    void cancel();
    /// Only its child: the operation itself goes on.
    void cancelChild();

private:
    QCoro::Task<void> perform(Body body, End ended);

    TaskScope& m_tasks;
    std::optional<std::stop_source> m_task;
    std::shared_ptr<ProcessHandle> m_handle;
    int m_generation = 0;
};

} // namespace orvanel
