#pragma once

#include "task/Event.h"

#include <QCoro/QCoroTask>

#include <exception>
#include <functional>
#include <type_traits>
#include <variant>

namespace orvanel {

/// Runs `job` on a thread of the global pool. It must not throw.
void startOnWorker(std::function<void()> job);

/// Runs `job` on a thread of the global pool and ends with what it returned or threw, back on the calling thread.
/// For whatever must not hold up the interface: parsing large answers, copying trees. `job` must own what it uses.
template <class Result>
    requires(!std::is_void_v<Result>)
QCoro::Task<Result> onWorker(std::function<Result()> job) {
    const Event<std::variant<Result, std::exception_ptr>> done;
    startOnWorker([done, job = std::move(job)] {
        try {
            done.complete(job());
        } catch (...) {
            done.complete(std::current_exception());
        }
    });
    auto outcome = co_await done;
    if (const auto* error = std::get_if<std::exception_ptr>(&outcome)) {
        std::rethrow_exception(*error);
    }
    co_return std::get<Result>(std::move(outcome));
}

} // namespace orvanel
