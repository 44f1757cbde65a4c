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

/// Runs docker, brew and colima as DockerCLI::run does, but in this process and on a clock of the test's own. The
/// answers are those of the stand-in executables, without their delays and the same each time. Lives on one thread,
/// which also receives the output callbacks. No server is started.
class InProcessDocker {
public:
    struct Call {
        QString tool;
        QStringList arguments;
        /// The result of commandName(); empty for a call that the stand-in does not know.
        QString command;
        Clock::TimePoint start;
        std::optional<Clock::TimePoint> end;
        CommandResult result; ///< of a call that has ended
    };

    /// How much longer a call takes than its answer says. Half of this time passes before the tool looks at the state,
    /// half before it prints its last words.
    using Latency = std::function<std::chrono::milliseconds(const QString& command)>;

    explicit InProcessDocker(Clock* clock, Latency latency = {});
    /// Ends the calls that still run or hang as if they were terminated, in the next turns of the event loop.
    ~InProcessDocker();
    InProcessDocker(const InProcessDocker&) = delete;
    InProcessDocker& operator=(const InProcessDocker&) = delete;

    /// Recognises the tool by the last part of the path, whether or not the file exists. Other programs cannot be
    /// started. The runner may outlive this object.
    RunCommand runner() const;

    DockerState& state();
    const std::vector<Call>& calls() const;
    int running() const;

    /// `action` is called for each tool that `brew install` installs.
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
