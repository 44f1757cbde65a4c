#include "controller/DailySchedule.h"

using namespace std::chrono_literals;

namespace orvanel {
namespace {

/// Between a copy late in the evening and the next day's.
constexpr auto least = 6h;
constexpr auto most = 24h;

} // namespace

bool isDailyCopyDue(const QDateTime& now, const std::optional<LastDailyCopy>& last) {
    if (!last) {
        return true;
    }
    if (last->since && *last->since < least) {
        return false;
    }
    if (last->since && *last->since >= most) {
        return true;
    }
    const auto passed = std::chrono::seconds(last->made.secsTo(now));
    if (passed < 0s) {
        return -passed > most;
    }
    return passed >= least && now.date() != last->made.date();
}

} // namespace orvanel
