#pragma once

#include "controller/OperationSlot.h"
#include "controller/StateStore.h"

namespace orvanel {

/// What is shown while a backup is made.
QString backingUpText();

/// The container operation under way, and what is shown of it and of the backups beside it. Main thread only.
class Operations {
public:
    using Refresh = std::function<QCoro::Task<void>(std::stop_token stop)>;

    /// `refresh` finds out the new state after each operation. All must outlive this.
    Operations(StateStore& state, TaskScope& tasks, Refresh refresh);

    /// Begins an operation, shown as `label`; dropped while another is under way.
    void run(const QString& label, OperationSlot::Body body);
    /// What the operation under way does next, in words.
    void show(const QString& text);

    bool isRunning() const { return m_slot.isTaken(); }
    int generation() const { return m_slot.generation(); }
    std::shared_ptr<ProcessHandle> handle() const { return m_slot.handle(); }
    /// The download under way, and the operation after its other commands.
    void cancel() { m_slot.cancel(); }
    void cancelChild() { m_slot.cancelChild(); }

    void backupBegan();
    void backupEnded(const std::optional<OpError>& error);

private:
    void ended(const Outcome& outcome, const std::stop_token& stop);
    QCoro::Task<void> refreshAfterwards(std::stop_token stop);
    void showBackups();

    StateStore& m_state;
    TaskScope& m_tasks;
    const Refresh m_refresh;
    OperationSlot m_slot;
    /// What the operation under way shows when no backup does.
    QString m_text;
    int m_backups = 0;
};

} // namespace orvanel
