#pragma once

#include "controller/ConversionWatch.h"
#include "controller/Operations.h"
#include "platform/Dialogs.h"

namespace orvanel {

class DataTurns;

/// Start, stop, restart and remove: what the user asks for, step by step. Main thread only. What it is given must
/// outlive it, and it must outlive its tasks.
class ContainerOperations {
public:
    ContainerOperations(const ContainerContext& context, Operations& operations, const ConversionWatch& conversions,
                        const DataTurns& dataTurns, Dialogs& dialogs, TaskScope& tasks);

    void start();
    void stop();
    void restart();
    void removeEverything();

    // --- Steps that other operations take too.

    QCoro::Task<Outcome> performStart(std::stop_token stop);
    /// Look at conversions() before.
    QCoro::Task<Outcome> performStop();
    const ConversionWatch& conversions() const { return m_conversions; }
    /// Downloads the image of that tag, or the pinned one, with the download's card shown.
    QCoro::Task<CommandResult> pullImage(Container container, std::stop_token stop,
                                         std::optional<QString> tag = std::nullopt);
    /// Why the data may not be touched now, since a server may be at work on it; none when no server can be.
    /// `consequence` is the sentence that says what was not done.
    QCoro::Task<Outcome> obstacleToData(QString consequence);
    /// The failure of a docker command, with the way out that there is.
    Failure failure(const CommandResult& result) const;

private:
    /// What the container said before its data is touched.
    struct Look {
        std::optional<Container> container;
        CommandResult answer;
    };
    QCoro::Task<Look> look();
    bool mayServerRun(const Look& look) const;
    bool isPortTaken(int port) const;
    std::optional<int> freePort() const;

    QCoro::Task<Outcome> stopIfAllowed();
    QCoro::Task<Outcome> performRestart(std::stop_token stop);
    QCoro::Task<void> confirmRemoveEverything();
    QCoro::Task<Outcome> performRemoveEverything();
    QCoro::Task<Outcome> removeContainer();

    const ContainerContext m_context;
    Operations& m_operations;
    const ConversionWatch& m_conversions;
    const DataTurns& m_dataTurns;
    Dialogs& m_dialogs;
    TaskScope& m_tasks;
};

} // namespace orvanel
