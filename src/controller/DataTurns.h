#pragma once

#include <QCoro/QCoroTask>

#include <memory>

namespace orvanel {

/// Lets the jobs that work on the data folder have it one after the other, in the order in which they ask: a backup
/// must not read what a restore is just replacing. One thread.
class DataTurns {
public:
    /// Holds the turn until the last copy is gone; may outlive the object that gave it.
    using Turn = std::shared_ptr<const void>;

    DataTurns();

    /// Ends when all who asked before have given their turns back.
    QCoro::Task<Turn> take() const;
    bool isTaken() const;

private:
    struct State;
    static QCoro::Task<Turn> takeFrom(std::shared_ptr<State> state);

    std::shared_ptr<State> m_state;
};

} // namespace orvanel
