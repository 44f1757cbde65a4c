#pragma once

#include "controller/BringUp.h"
#include "controller/ComposeFile.h"
#include "controller/HostFunctions.h"
#include "controller/StateStore.h"

namespace orvanel {

/// What every Container uses. All of it must outlive the containers made with it.
struct ContainerContext {
    StateStore& state;
    const HostFunctions& host;
    const ContainerFiles& files;
    BringUp& bringUp;
};

/// The Uptime Kuma container, as seen through one docker tool. An operation keeps the Container that it began with,
/// whatever tool the user chooses meanwhile. Main thread only; must outlive its tasks.
class Container {
public:
    /// Whether bringUp() also replaces a container that runs.
    enum class WhenRunning { leave, replace };

    Container(const ContainerContext& context, QString docker);

    QString docker() const { return m_docker; }

    /// Whether a Docker runtime answers.
    QCoro::Task<CommandResult> runtime() const;
    /// The container's state word in Docker's answer; see ContainerAnswer.h.
    QCoro::Task<CommandResult> probe() const;
    /// The state word; none if there is no container or no answer.
    QCoro::Task<std::optional<QString>> state() const;
    /// Whether the image of that tag is there, or that of the pinned one.
    QCoro::Task<bool> hasImage(std::optional<QString> tag = std::nullopt) const;
    /// Whether Docker's compose works. The tool is asked once after the user has chosen it.
    QCoro::Task<bool> hasCompose() const;
    /// Writes the compose file for the port and image of the settings; see ContainerFiles::prepare().
    static std::optional<QString> prepareFiles(const ContainerContext& context);

    /// Downloads the image of that tag, or the pinned one. The output goes to the state's log.
    QCoro::Task<CommandResult> pull(std::shared_ptr<ProcessHandle> handle,
                                    std::optional<QString> tag = std::nullopt) const;
    /// Makes the container run, with the port and image of the settings; unpauses it first if it is paused. `existing`
    /// is its state word, if there is a container.
    QCoro::Task<CommandResult> bringUp(std::optional<QString> existing, WhenRunning whenRunning) const;
    /// Stops the container, through compose where that works. Returns the result of the last command run.
    QCoro::Task<CommandResult> stop() const;
    /// Removes the container; its data stay.
    QCoro::Task<CommandResult> remove() const;
    QCoro::Task<CommandResult> logs() const;
    /// As much of the end of the log as a look at it needs: what the server has done last.
    QCoro::Task<CommandResult> endOfLog() const;

private:
    /// Runs a command that is neither cancelled nor watched.
    QCoro::Task<CommandResult> command(QStringList arguments, std::chrono::seconds limit) const;
    void learnFrom(const CommandResult& info) const;
    QCoro::Task<QString> image(std::optional<QString> tag = std::nullopt) const;
    QCoro::Task<CommandResult> startingCommand(QStringList arguments) const;
    QCoro::Task<CommandResult> unpause() const;
    QCoro::Task<CommandResult> composeUp() const;
    QCoro::Task<bool> hasOurData() const;
    QStringList composeArgs(const QStringList& extra) const;
    QString dataMount() const;

    ContainerContext m_context;
    QString m_docker;
    /// What this tool's answers tell, also when the user has chosen another one meanwhile.
    mutable std::optional<DockerKind> m_kind;
};

/// The container as seen through the docker tool in use; none while no tool is known.
std::optional<Container> knownContainer(const ContainerContext& context);

/// The same, after a search if no tool is known.
std::optional<Container> findContainer(const ContainerContext& context);

} // namespace orvanel
