#pragma once

#include "helper/Computer.h"
#include "helper/PackageManager.h"
#include "helper/StopRequest.h"

#include <string>

namespace orvanel {

/// Runs the system's tools as root, one after the other, in an environment of fixed variables.
///
/// A tool is never ended: not by a wish to stop, which only tells that nothing follows, and not by the end of this
/// process either. It runs in a session of its own, and it writes to a file in memory, not to a pipe that could break.
class ToolRunner {
public:
    /// What a tool that changes the computer's packages needs besides: it outlives the user's login, too.
    enum class Kind { plain, packages };

    ToolRunner(const Computer& computer, StopRequest& stop);

    /// Prints the command as a line that begins with "$ ", and what the tool prints while it runs. Returns its exit
    /// status, 128 + signal number, or 127 when it could not be started.
    int run(const ToolCommand& command, Kind kind = Kind::plain);
    /// Prints nothing; what the tool printed, whatever its exit status.
    std::string outputOf(const ToolCommand& command);

    /// Whether a tool was run whose work lasts.
    bool hasChangedSomething() const { return m_hasChangedSomething; }

private:
    ToolCommand wrapped(const ToolCommand& command) const;
    int runQuietly(const ToolCommand& command, const std::function<void(const std::string& text)>& onOutput);
    void tellOfStop();

    const Computer& m_computer;
    StopRequest& m_stop;
    bool m_hasChangedSomething = false;
    bool m_hasTold = false;
};

/// Writes a line to standard output; to nobody when nobody reads it any more.
void say(const std::string& line);

} // namespace orvanel
