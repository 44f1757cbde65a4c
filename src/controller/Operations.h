#pragma once

#include "controller/OperationSlot.h"
#include "controller/StateStore.h"
#include "task/Clock.h"

namespace orvanel {

/// The text that is shown while a backup is made.
QString backingUpText();

/// The container operation under way, and the text that is shown for it and for the backups beside it. Main thread
/// only.
class Operations {
public:
    using Refresh = std::function<QCoro::Task<void>(std::stop_token stop)>;

    /// `refresh` finds out the new state after each operation. All four must outlive this object.
    Operations(StateStore& state, Clock& clock, TaskScope& tasks, Refresh refresh);

    /// Begins an operation, shown as `label`; dropped while another is under way.
    void run(const QString& label, OperationSlot::Body body);
    /// Shows what the operation under way does next.
    void show(const QString& text);

    bool isRunning() const { return m_slot.isTaken(); }
    int generation() const { return m_slot.generation(); }
    std::shared_ptr<ProcessHandle> handle() const { return m_slot.handle(); }
    /// Cancels the download under way; other commands run to their end, and the operation stops after them.
    void cancel() { m_slot.cancel(); }
    void cancelChild() { m_slot.cancelChild(); }

    /// Call it when a probe that began after the last operation has published what it found.
    void settled();

    void backupBegan();
    void backupEnded(const std::optional<OpError>& error);

private:
    void ended(const Outcome& outcome);
    QCoro::Task<void> refreshAfterwards();
    void showBackups();

    StateStore& m_state;
    Clock& m_clock;
    TaskScope& m_tasks;
    const Refresh m_refresh;
    OperationSlot m_slot;
    /// The text of the operation under way, shown while no backup is made.
    QString m_text;
    /// Ends the settling if no probe does.
    std::unique_ptr<Clock::Timer> m_patience;
    int m_backups = 0;
};

} // namespace orvanel
