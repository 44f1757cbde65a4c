#pragma once

#include "task/Clock.h"

#include <QDateTime>

#include <optional>

namespace orvanel {

/// The last daily copy that passed its check.
struct LastDailyCopy {
    /// By this computer's clock of that time, in local time.
    QDateTime made;
    /// The time that has passed since, whatever was done to the clock; none when an earlier run made it.
    std::optional<Clock::TimePoint::duration> since = {};
};

/// Whether a daily copy is due at the local time `now`: when there is none, when the last one was made on another day
/// and not just before midnight, or when it was made in the future, by a clock that was wrong. While it is known how
/// much time has really passed, a clock that jumps neither puts the next one off for more than a day nor makes several
/// in a row.
bool isDailyCopyDue(const QDateTime& now, const std::optional<LastDailyCopy>& last);

} // namespace orvanel
