#pragma once

namespace orvanel {

/// Tells that whoever started this process wants it to stop: standard input has ended or brought something, nobody
/// reads standard output any more, or a signal asked for it. As root, the process cannot be sent signals by the user
/// who started it; closing standard input is what is left to them.
class StopRequest {
public:
    /// From now on SIGTERM, SIGINT and SIGHUP are such a wish and do nothing else, and SIGPIPE does nothing.
    StopRequest();

    /// Never takes the answer back.
    bool isMade();
    /// Waits up to that long, or until the wish is there.
    void wait(int milliseconds);

private:
    bool m_isMade = false;
};

} // namespace orvanel
