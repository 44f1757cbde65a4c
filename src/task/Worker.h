#pragma once

#include "task/Event.h"

#include <QCoro/QCoroTask>

#include <concepts>
#include <functional>
#include <future>
#include <memory>
#include <type_traits>

namespace orvanel {

/// Runs `job` on a thread of the global pool. It must not throw.
void startOnWorker(std::function<void()> job);

/// What onWorker() is made of.
template <class Result>
QCoro::Task<Result> runOnWorker(std::function<Result()> job) {
    const auto task = std::make_shared<std::packaged_task<Result()>>(std::move(job));
    std::future<Result> result = task->get_future();
    const Event<> done;
    startOnWorker([task, done] {
        (*task)();
        done.complete();
    });
    co_await done;
    co_return result.get();
}

/// Runs `job` on a thread of the global pool and ends with what it returned or threw, back on the calling thread.
/// For work that must not hold up the interface: parsing large answers, copying trees. `job` must own what it uses.
template <std::invocable Job>
QCoro::Task<std::invoke_result_t<Job>> onWorker(Job job) {
    return runOnWorker<std::invoke_result_t<Job>>(std::move(job)); // compiled once for each result type, not each job
}

} // namespace orvanel
