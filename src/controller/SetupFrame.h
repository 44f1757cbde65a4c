#pragma once

#include "controller/Container.h"
#include "controller/OperationSlot.h"

namespace orvanel {

/// What all setups of Docker have in common: only one runs at a time, beside container operations; its title, its live
/// log and its end. Main thread only. What it is given must outlive it, and it must outlive its tasks.
class SetupFrame {
public:
    using Refresh = std::function<QCoro::Task<void>(std::stop_token stop)>;

    /// `refresh` finds out the new state once a runtime answers.
    SetupFrame(const ContainerContext& context, Clock& clock, Refresh refresh, TaskScope& tasks);

    /// Runs a setup, unless another is under way. `name` is for reports.
    void run(const QString& name, OperationSlot::Body body);
    void cancel();

    const ContainerContext& context() const { return m_context; }
    StateStore& state() const { return m_context.state; }
    const HostFunctions& host() const { return m_context.host; }
    /// For the long commands of the setup under way, which a cancel may end.
    std::shared_ptr<ProcessHandle> handle() const { return m_slot.handle(); }
    /// Where their output goes.
    DockerCLI::OutputCallback log() const;

    void showTitle(const QString& title);
    /// What a cancel shows in place of the title, as long as it cannot end the step under way; empty otherwise.
    void showWhenCancelled(const QString& title) { m_titleWhenCancelled = title; }
    void addToLog(const QString& text);

    /// After an installation, the docker tool and compose are to be looked for again.
    void forgetDocker();
    Failure dockerNotFound() const;

    QCoro::Task<void> pause(std::stop_token stop);
    /// One look whether Docker serves containers.
    QCoro::Task<CommandResult> ask(QString docker);
    /// Up to ten looks, each failure followed by a pause, which a cancel cuts short. The last answer.
    QCoro::Task<CommandResult> waitForDaemon(QString docker, std::stop_token stop);
    /// Finds out the state of everything.
    QCoro::Task<void> refresh(std::stop_token stop) { return m_refresh(stop); }
    /// Says that Docker is ready, unless the user has chosen another tool meanwhile, and finds out the rest.
    QCoro::Task<void> publishReady(QString docker, std::stop_token stop);

private:
    const ContainerContext m_context;
    Clock& m_clock;
    const Refresh m_refresh;
    OperationSlot m_slot;
    QString m_titleWhenCancelled;
};

/// The failure of a long command that was cancelled, or that failed.
Failure cancelledOr(const CommandResult& result, const QString& message);

} // namespace orvanel
