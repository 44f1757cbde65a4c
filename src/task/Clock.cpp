#include "task/Clock.h"

namespace orvanel {

Clock::Timer::~Timer() = default;

Clock::~Clock() = default;

} // namespace orvanel
