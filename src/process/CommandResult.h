#pragma once

#include <QString>

#include <cstdint>

namespace orvanel {

/// How one external command ended.
struct CommandResult {
    /// Exit status of the child; 128 + signal number when a signal ended it; -1 when it was never started, or when it
    /// did not end in time after SIGTERM (see DockerCLI::run).
    std::int32_t status = -1;
    /// Everything the child wrote to standard output and standard error, merged in the order of arrival; UTF-8 with
    /// invalid bytes replaced by U+FFFD. Only the end of a very long output is kept (see OutputBuffer).
    QString output = {};
    /// The time limit was reached while the child was still running, so it was sent SIGTERM.
    bool timedOut = false;
    /// The run's ProcessHandle was cancelled.
    bool cancelled = false;

    bool isSuccess() const { return status == 0 && !timedOut && !cancelled; }
};

} // namespace orvanel
