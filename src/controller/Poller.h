#pragma once

#include "controller/ConversionWatch.h"
#include "controller/DockerService.h"
#include "controller/Operations.h"
#include "controller/StatusWatch.h"

#include <stop_token>

namespace orvanel {

/// Keeps the published state true: looks for the tools, probes the container and the web page, every three seconds, and
/// has the status page read. Main thread only. What it is given must outlive it, and it must outlive its tasks.
class Poller {
public:
    Poller(const ContainerContext& context, Operations& operations, const ConversionWatch& conversions,
           const DockerService& service, StatusWatch& statusWatch, Clock& clock, TaskScope& tasks,
           std::function<void()> alsoEachTime = {});

    /// Starts the poll loop, unless it runs already.
    void begin();
    void end();
    /// Forgets the docker tool and probes again.
    void recheck();
    /// One probe, dropped while an operation is under way.
    QCoro::Task<void> refresh(std::stop_token stop);

private:
    QCoro::Task<void> poll(std::stop_token stop);
    QCoro::Task<void> pollOnce(std::stop_token stop);
    QCoro::Task<void> refreshSoon();
    std::optional<Container> findTools();
    bool isOutdated(const Container& container, int generation) const;
    void publishDockerAnswers();
    void publishRunning(PageAnswer page, const std::optional<Conversion>& conversion);
    void publishRestarting(bool wasConversionInterrupted);
    void publishStopped(const QString& word = {});
    bool mayRestartAgain() const;
    void publishNotRunning(const CommandResult& probe);
    void publishNoRuntime(const QString& details, const std::optional<ServiceUnit>& service);

    const ContainerContext m_context;
    Operations& m_operations;
    const ConversionWatch& m_conversions;
    const DockerService& m_service;
    StatusWatch& m_statusWatch;
    Clock& m_clock;
    TaskScope& m_tasks;
    const std::function<void()> m_alsoEachTime;
    std::optional<std::stop_source> m_pollTask;
    /// When the container was last seen restarting, and the number of operations begun until then.
    struct Restart {
        Clock::TimePoint seen;
        int generation;
    };
    std::optional<Restart> m_restart;
};

} // namespace orvanel
