#include "controller/DataTurns.h"

#include "task/Event.h"

#include <deque>

namespace orvanel {

struct DataTurns::State {
    bool isTaken = false;
    std::deque<Event<>> waiting;

    void giveBack() {
        if (waiting.empty()) {
            isTaken = false;
            return;
        }
        const Event<> next = waiting.front();
        waiting.pop_front();
        next.complete();
    }
};

DataTurns::DataTurns()
    : m_state(std::make_shared<State>()) {}

QCoro::Task<DataTurns::Turn> DataTurns::take() const {
    return takeFrom(m_state);
}

bool DataTurns::isTaken() const {
    return m_state->isTaken;
}

QCoro::Task<DataTurns::Turn> DataTurns::takeFrom(std::shared_ptr<State> state) {
    if (state->isTaken) {
        const Event<> turn;
        state->waiting.push_back(turn);
        co_await turn;
    }
    state->isTaken = true;
    co_return Turn(state.get(), [state](const void*) { state->giveBack(); });
}

} // namespace orvanel
