#pragma once

#include "task/Clock.h"

#include <QCoro/QCoroTask>

#include <stop_token>

namespace orvanel {

/// Ends when `duration` has passed on `clock`, or earlier when `stop` is requested (from any thread).
/// `clock` must outlive the sleep.
QCoro::Task<void> sleepFor(Clock* clock, std::chrono::milliseconds duration, std::stop_token stop = {});

} // namespace orvanel
