#include "controller/OperationSlot.h"

#include <exception>
#include <utility>

namespace orvanel {

OperationSlot::OperationSlot(TaskScope& tasks)
    : m_tasks(tasks) {}

bool OperationSlot::begin(const QString& name, Body body, End ended) {
    if (m_task) {
        return false;
    }
    m_task.emplace();
    m_handle = std::make_shared<ProcessHandle>();
    m_generation += 1;
    m_tasks.start(perform(std::move(body), std::move(ended)), name);
    return true;
}

void OperationSlot::cancel() {
    if (m_task) {
        m_task->request_stop();
    }
    cancelChild();
}

void OperationSlot::cancelChild() {
    if (m_handle) {
        m_handle->cancel();
    }
}

QCoro::Task<void> OperationSlot::perform(Body body, End ended) {
    const std::stop_token stop = m_task->get_token();
    Outcome outcome;
    try {
        outcome = co_await body(stop);
    } catch (const std::exception& thrown) {
        outcome = failed(thrown);
    }
    m_task.reset();
    m_handle.reset();
    ended(outcome, stop);
}

} // namespace orvanel
