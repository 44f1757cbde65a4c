#pragma once

#include <QObject>

#include <coroutine>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

namespace orvanel {

/// Posts an action to one thread, whose event loop runs it. May be called from any thread. Once the thread has ended,
/// actions are dropped.
using PostToThread = std::function<void(std::function<void()>)>;
/// A function that posts to the calling thread.
PostToThread postToThisThread();

/// Something that happens once, and brings a value unless `Value` is void: what a coroutine awaits when a child ends,
/// a reply arrives or a time has passed. A copy is another handle on the same event.
///
/// complete() may be called from any thread. The first call counts, later ones are ignored. One coroutine may await the
/// event, on a thread that runs an event loop: if the event has already happened, the coroutine goes on at once;
/// otherwise the event loop resumes it, never complete() itself.
template <class Value = void>
class Event {
    using Stored = std::conditional_t<std::is_void_v<Value>, std::monostate, Value>;

    struct State {
        std::mutex mutex;
        std::optional<Stored> value;
        std::coroutine_handle<> waiting;
        PostToThread post;
    };

public:
    Event()
        : m_state(std::make_shared<State>()) {}

    void complete() const
        requires(std::is_void_v<Value>)
    {
        happen({});
    }
    void complete(Stored value) const
        requires(!std::is_void_v<Value>)
    {
        happen(std::move(value));
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
        if constexpr (!std::is_void_v<Value>) {
            return std::move(*m_state->value);
        }
    }

private:
    void happen(Stored value) const {
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

    std::shared_ptr<State> m_state;
};

} // namespace orvanel
