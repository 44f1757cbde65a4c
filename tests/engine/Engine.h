#pragma once

#include <QString>
#include <QStringList>

namespace orvanel::test {

/// The Docker engine that tests/engine/run has started. A test may kill it and start it again.
class Engine {
public:
    /// Kills the engine, as a crash or a lack of memory does. Its containers run on without it.
    void kill() const;
    /// Starts it again, unless it runs, and waits until it answers; false if it does not.
    [[nodiscard]] bool start() const;

private:
    qint64 pid() const;

    QString m_pidFile = qEnvironmentVariable("ORVANEL_ENGINE_PID_FILE");
    QString m_starter = qEnvironmentVariable("ORVANEL_ENGINE_STARTER");
};

} // namespace orvanel::test
