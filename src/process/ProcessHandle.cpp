#include "process/ProcessHandle.h"

#include <utility>

namespace orvanel {

RunningProcess::~RunningProcess() = default;

void ProcessHandle::cancel() {
    std::shared_ptr<RunningProcess> process;
    {
        const std::lock_guard lock(m_lock);
        m_cancelled = true;
        process = m_process;
    }
    if (process) {
        process->terminate();
    }
}

bool ProcessHandle::isCancelled() const {
    const std::lock_guard lock(m_lock);
    return m_cancelled;
}

bool ProcessHandle::setProcess(std::shared_ptr<RunningProcess> process) {
    const std::lock_guard lock(m_lock);
    m_process = std::move(process);
    return !m_cancelled;
}

} // namespace orvanel
