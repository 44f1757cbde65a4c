#pragma once

namespace orvanel {

/// How the root helper ends: its exit status, which says where it stopped. What pkexec itself ends with (126 and 127)
/// and what shells use is left out. The helper also prints a sentence for each.
enum class SetupStatus {
    done = 0,
    /// Not one of the verbs, or more than one word.
    badRequest = 64,
    /// Not started as root through polkit, or for nobody that this computer knows.
    badCaller = 65,
    /// Another helper is at work.
    alreadyRunning = 66,
    /// Cancelled before anything was changed.
    cancelled = 67,
    /// Cancelled; the step that was under way went on to its end.
    cancelledAfterStep = 68,
    noPackageManager = 69,
    packagesFailed = 70,
    serviceFailed = 71,
    groupFailed = 72,
    socketFailed = 73,
};

} // namespace orvanel
