#pragma once

#include <QAbstractEventDispatcher>
#include <QCoro/QCoroTask>
#include <QDeadlineTimer>
#include <QTest>
#include <QTimer>

#include <chrono>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>

namespace orvanel::test {

/// How long a test waits, in real time, for something that must happen. This only keeps tests from hanging.
constexpr std::chrono::seconds patience{30};

/// Runs the event loop until `condition` holds; returns false if it does not within `patience`. Sleeps between events,
/// but checks every few milliseconds, because a condition may be about a file or another thread.
template <class Condition>
[[nodiscard]] bool waitUntil(Condition condition) {
    const QDeadlineTimer deadline(patience);
    QTimer alarm;
    alarm.start(std::chrono::milliseconds(5));
    while (!condition()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents);
    }
    return true;
}

namespace detail {

template <class T>
struct Outcome {
    std::optional<T> value;
    std::exception_ptr error;
};

template <class T>
QCoro::Task<void> keep(QCoro::Task<T> task, std::shared_ptr<Outcome<T>> outcome) {
    try {
        outcome->value = co_await task;
    } catch (...) {
        outcome->error = std::current_exception();
    }
}

inline QCoro::Task<bool> asValue(QCoro::Task<void> task) {
    co_await task;
    co_return true;
}

} // namespace detail

/// Runs the event loop until the task ends. Returns its result, or throws what it threw.
template <class T>
T await(QCoro::Task<T> task) {
    const auto outcome = std::make_shared<detail::Outcome<T>>();
    detail::keep(std::move(task), outcome);
    if (!waitUntil([&] { return outcome->value || outcome->error; })) {
        throw std::runtime_error("the awaited task did not end");
    }
    if (outcome->error) {
        std::rethrow_exception(outcome->error);
    }
    return *std::move(outcome->value);
}

inline void await(QCoro::Task<void> task) {
    await(detail::asValue(std::move(task)));
}

/// Delivers everything that has been posted to this thread, and everything posted while that is delivered.
inline void drainEvents() {
    QAbstractEventDispatcher* const dispatcher = QAbstractEventDispatcher::instance();
    int quietRounds = 0;
    for (int round = 0; round < 20 && quietRounds < 2; ++round) {
        QCoreApplication::sendPostedEvents();
        quietRounds = dispatcher->processEvents(QEventLoop::AllEvents) ? 0 : quietRounds + 1;
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

} // namespace orvanel::test
