#pragma once

#include "controller/Container.h"
#include "controller/OperationSlot.h"

namespace orvanel {

/// Installs and starts a Docker runtime with Homebrew and Colima. One setup at a time, beside container operations: a
/// request during another is dropped. Main thread only; what it is given must outlive it, and it its tasks.
class RuntimeSetup {
public:
    using Refresh = std::function<QCoro::Task<void>(std::stop_token stop)>;

    /// `refresh` finds out the new state once a runtime answers.
    RuntimeSetup(const ContainerContext& context, Clock& clock, Refresh refresh, TaskScope& tasks);

    /// Installs Colima and the docker tool where they are missing, and starts Colima.
    void installAndStart();
    /// Starts Colima, unless a runtime answers already.
    void start();
    void cancel() { m_slot.cancel(); }

private:
    void run(const QString& name, OperationSlot::Body body);
    QCoro::Task<Outcome> performInstall(std::stop_token stop);
    QCoro::Task<Outcome> install();
    QCoro::Task<Outcome> startColimaIfNeeded(Container container, std::stop_token stop);
    QCoro::Task<bool> waitForDaemon(QString docker, std::stop_token stop);
    void publishReady(const Container& container);
    /// Runs one of the long commands: it can be cancelled, and its output goes to the live log.
    QCoro::Task<CommandResult> command(QString path, QStringList arguments, std::chrono::seconds limit);
    void showStep(const QString& text, const QString& commandLine);

    const ContainerContext m_context;
    Clock& m_clock;
    const Refresh m_refresh;
    OperationSlot m_slot;
};

} // namespace orvanel
