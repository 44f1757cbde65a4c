#pragma once

#include "standin/tools/Answer.h"

#include "process/DockerCLI.h"
#include "task/Clock.h"

#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace orvanel::standin {

/// Runs docker, brew and colima as DockerCLI::run does, but in this process and on a clock of the test's choice: the
/// same answers as the stand-in executables, as fast and as repeatable as the test is. Lives on one thread, on which
/// output callbacks come too. No server is started.
class InProcessDocker {
public:
    struct Call {
        QString tool;
        QStringList arguments;
        /// As commandName() gives it; empty for a call that the stand-in does not know.
        QString command;
        Clock::TimePoint start;
        std::optional<Clock::TimePoint> end;
        CommandResult result; ///< of a call that has ended
    };

    /// How much longer than the answer's own times a call takes; half of it passes before the tool looks at the
    /// state, half before it says its last words.
    using Latency = std::function<std::chrono::milliseconds(const QString& command)>;

    explicit InProcessDocker(Clock* clock, Latency latency = {});
    /// Lets go of the calls that still run or hang: they end as if terminated, at the next turns of the event loop.
    ~InProcessDocker();
    InProcessDocker(const InProcessDocker&) = delete;
    InProcessDocker& operator=(const InProcessDocker&) = delete;

    /// Tells the tool from the last part of the path, whether or not there is such a file; any other program cannot be
    /// started. May be used longer than this object.
    RunCommand runner() const;

    DockerState& state();
    const std::vector<Call>& calls() const;
    int running() const;

    /// Calls this for each tool that `brew install` brings.
    void onInstall(std::function<void(const QString& tool)> action);

private:
    class World;
    class Child;
    struct Shared;
    static QCoro::Task<CommandResult> run(std::shared_ptr<Shared> shared, QString path, QStringList arguments,
                                          std::chrono::duration<double> timeout, std::shared_ptr<ProcessHandle> handle,
                                          DockerCLI::OutputCallback onOutput);
    static void giveUpLater(const std::shared_ptr<Shared>& shared, const std::weak_ptr<Child>& weakChild);
    static QCoro::Task<void> perform(std::shared_ptr<Shared> shared, std::shared_ptr<Child> child);
    static QCoro::Task<bool> play(std::shared_ptr<Shared> shared, std::shared_ptr<Child> child, Answer answer);
    static QCoro::Task<bool> pause(std::shared_ptr<Shared> shared, std::shared_ptr<Child> child,
                                   std::chrono::milliseconds time);

    std::shared_ptr<Shared> m_shared;
};

} // namespace orvanel::standin
