#pragma once

#include "standin/tools/StandInTools.h"
#include "support/PrivateBus.h"
#include "support/TestHome.h"

#include <QProcess>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace orvanel::test {

/// The real program in a process of its own, with a throw-away home, a private bus and a stand-in docker. Its windows
/// go to a display that shows nothing.
class RunningProgram {
public:
    RunningProgram();
    /// Ends what still runs.
    ~RunningProgram();
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    TestHome home;
    PrivateBus bus;
    standin::StandInTools tools;
    /// The environment of the next start: the private bus and the offscreen platform, unless a test changes that.
    QProcessEnvironment environment;
    /// File for the standard error of the next start; empty: ours.
    QString errorFile;

    /// Adds a line to the settings.
    void setting(const QByteArray& line);
    /// Adds a container in that state and the files of an earlier run; its page does not answer.
    void addContainer(const char* state);

    /// Makes the container's stop take that long.
    void delayStop(int milliseconds) const;

    /// Starts the program; if a copy already runs, starts another.
    QProcess& start();
    /// Starts `program` with the program's path as its last argument.
    QProcess& startThrough(const QString& program, QStringList arguments);
    /// Whether the first copy has found out about Docker and the container.
    [[nodiscard]] bool knowsItsContainer() const;
    /// Whether docker was asked for that since the start.
    bool hasCalled(const QString& command) const { return tools.commands().contains(command); }

    static void signal(const QProcess& process, int number);
    /// How long a copy takes to end after a signal, not counting the time in which it or we waited for a processor;
    /// none when it did not end.
    static std::optional<std::chrono::milliseconds> timeToEnd(QProcess& process, int number);
    /// The same, after anything else that ends it.
    static std::optional<std::chrono::milliseconds> timeToEnd(QProcess& process, const std::function<void()>& cause);
    /// Waits for the end of a copy. The exit code; none when it did not end, or crashed.
    static std::optional<int> exitCode(QProcess& process);

private:
    std::vector<std::unique_ptr<QProcess>> m_processes;
    QByteArray m_settings;
};

} // namespace orvanel::test
