#pragma once

#include <QString>

#include <cstdint>

namespace orvanel {

/// How one external command ended.
struct CommandResult {
    /// Exit status of the child; 128 + signal number when a signal ended it; -1 when it was never started.
    std::int32_t status = -1;
    /// Everything the child wrote to standard output and standard error, merged in the order of arrival; UTF-8 with
    /// invalid bytes replaced by U+FFFD. Of a very long output only the end is kept (see OutputBuffer).
    QString output = {};
    /// The time limit was reached while the child was still running, and it was asked to terminate.
    bool timedOut = false;
    /// The run's ProcessHandle was cancelled.
    bool cancelled = false;

    bool isSuccess() const { return status == 0 && !timedOut && !cancelled; }
};

} // namespace orvanel
