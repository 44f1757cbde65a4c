#pragma once

#include <QCoro/QCoroTask>

#include <memory>

namespace orvanel {

/// Makes the jobs that work on the data folder take turns, in the order in which they ask: a backup must not read what
/// a restore is replacing. Used by one thread.
class DataTurns {
public:
    /// Holds the turn until its last copy is gone. May outlive the DataTurns that gave it.
    using Turn = std::shared_ptr<const void>;

    DataTurns();

    /// Ends when all jobs that asked before have ended their turns.
    QCoro::Task<Turn> take() const;
    bool isTaken() const;

private:
    struct State;
    static QCoro::Task<Turn> takeFrom(std::shared_ptr<State> state);

    std::shared_ptr<State> m_state;
};

} // namespace orvanel
