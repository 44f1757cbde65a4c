#pragma once

#include "controller/ControllerState.h"

#include <functional>
#include <memory>
#include <utility>

namespace orvanel {

/// Holds the published state, and is the only way to change it. Main thread only.
class StateStore : public std::enable_shared_from_this<StateStore> {
public:
    /// `changed` is called after each update that made a difference.
    explicit StateStore(std::function<void()> changed)
        : m_changed(std::move(changed)) {}
    StateStore(const StateStore&) = delete;
    StateStore& operator=(const StateStore&) = delete;

    const ControllerState& operator*() const { return m_state; }
    const ControllerState* operator->() const { return &m_state; }

    /// Changes one field.
    template <class Field, class Value>
    void set(Field ControllerState::*field, Value&& value) {
        update([&](ControllerState& state) { state.*field = std::forward<Value>(value); });
    }

    /// Changes several fields together: `change` is called with the state to write to.
    template <class Change>
    void update(Change change) {
        ControllerState next = m_state;
        change(next);
        if (next == m_state) {
            return;
        }
        m_state = std::move(next);
        m_changed();
    }

private:
    ControllerState m_state;
    const std::function<void()> m_changed;
};

/// `details`: what the docker tool said when no runtime answered.
inline void setDockerState(StateStore& state, DockerState dockerState, const QString& details = {}) {
    state.update([&](ControllerState& next) {
        next.dockerState = dockerState;
        next.runtimeDetails = details;
        next.stoppedService = std::nullopt;
    });
}

/// Shows an error that is not from the last operation, in place of that operation's error and of the way out offered
/// with it.
inline void replaceError(StateStore& state, const OpError& error) {
    state.update([&](ControllerState& next) {
        next.error = error;
        next.suggestedPort = std::nullopt;
    });
}

} // namespace orvanel
