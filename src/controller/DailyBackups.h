#pragma once

#include "controller/Container.h"
#include "controller/DailySchedule.h"
#include "controller/DataTurns.h"
#include "controller/Operations.h"
#include "controller/UserSettings.h"
#include "platform/Notifier.h"

namespace orvanel {

/// Makes a copy of the data every day while the user has switched that on: beside the running container, while its
/// state is known and no operation is under way. A copy that fails is tried again in an hour, and reported once. Main
/// thread only. What it is given must outlive it, and it must outlive its tasks.
class DailyBackups {
public:
    DailyBackups(const ContainerContext& context, UserSettings& settings, const Operations& operations,
                 const DataTurns& dataTurns, Clock& clock, Notifier& notifier, TaskScope& tasks);

    /// Finds out, once, which copies there are; none is made before.
    void begin();
    /// False when it could not be stored. Switched on, it makes a copy at once, or as soon as that can be.
    bool setEnabled(bool enabled);
    /// Begins a copy when one is due and nothing is in its way. To be called again and again: times are compared each
    /// time, so that a sleep of the computer or a change of its clock puts nothing off.
    void startWhenDue();

private:
    bool isDue() const;
    std::optional<QString> obstacle();
    bool isJustStarting();
    QCoro::Task<void> lookFirst();
    QCoro::Task<void> look();
    QCoro::Task<void> makeCopy();
    void succeeded(const QDateTime& made);
    void failed(const OpError& error);
    void wait(const std::optional<QString>& reason);
    void publish(const DailyCopyStock& stock);
    QDateTime localTime() const;
    template <class Change>
    void update(Change change) {
        m_context.state.update([&](ControllerState& state) { change(state.dailyBackups); });
    }

    const ContainerContext m_context;
    UserSettings& m_settings;
    const Operations& m_operations;
    const DataTurns m_dataTurns;
    Clock& m_clock;
    Notifier& m_notifier;
    TaskScope& m_tasks;

    bool m_hasBegun = false;
    /// Whether the copies that are there are known.
    bool m_isKnown = false;
    /// The user has just switched it on.
    bool m_isWanted = false;
    std::optional<QDateTime> m_lastGood;
    /// When this run made that one.
    std::optional<Clock::TimePoint> m_lastGoodAt;
    /// After an attempt that brought no good copy.
    std::optional<Clock::TimePoint> m_nextAttempt;
    bool m_isFailureTold = false;
    std::optional<Clock::TimePoint> m_startingSince;
    QStringList m_deletedForRoom;
};

} // namespace orvanel
