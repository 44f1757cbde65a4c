#include "task/Sleep.h"

#include "task/Event.h"

namespace orvanel {

QCoro::Task<void> sleepFor(Clock* clock, std::chrono::milliseconds duration, std::stop_token stop) {
    const Event<> awake;
    const auto timer = clock->callAfter(duration, [awake] { awake.complete(); });
    const std::stop_callback onStop(stop, [awake] { awake.complete(); });
    co_await awake;
}

} // namespace orvanel
