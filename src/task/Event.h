#pragma once

#include <QObject>

#include <coroutine>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace orvanel {

/// Runs `action` from the event loop of the thread to which it belongs; dropped when that thread has ended.
/// Made by resumeOnThisThread(), called from any thread.
using PostToThread = std::function<void(std::function<void()>)>;
PostToThread postToThisThread();

/// Something that happens once and brings a value: what a coroutine awaits when a child ends, a reply arrives or a time
/// has passed. A copy is another handle on the same event.
///
/// complete() may be called from any thread; the first call counts, later ones are ignored. One coroutine may await
/// it, on a thread that runs an event loop, and is resumed from that loop (never inside complete()), unless the event
/// has already happened, when it does not suspend at all.
template <class Value>
class Event {
    struct State {
        std::mutex mutex;
        std::optional<Value> value;
        std::coroutine_handle<> waiting;
        PostToThread post;
    };

public:
    Event()
        : m_state(std::make_shared<State>()) {}

    void complete(Value value) const {
        std::coroutine_handle<> waiting;
        PostToThread post;
        {
            const std::lock_guard lock(m_state->mutex);
            if (m_state->value) {
                return;
            }
            m_state->value.emplace(std::move(value));
            waiting = std::exchange(m_state->waiting, {});
            post = std::move(m_state->post);
        }
        if (waiting) {
            post([waiting] { waiting.resume(); });
        }
    }

    bool isComplete() const {
        const std::lock_guard lock(m_state->mutex);
        return m_state->value.has_value();
    }

    bool await_ready() const { return isComplete(); }

    bool await_suspend(std::coroutine_handle<> handle) const {
        const std::lock_guard lock(m_state->mutex);
        if (m_state->value) {
            return false;
        }
        m_state->post = postToThisThread();
        m_state->waiting = handle;
        return true;
    }

    Value await_resume() const {
        const std::lock_guard lock(m_state->mutex);
        return std::move(*m_state->value);
    }

private:
    std::shared_ptr<State> m_state;
};

} // namespace orvanel
