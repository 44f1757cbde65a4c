#pragma once

#include "ContainerWorld.h"
#include "RecordingPlatform.h"
#include "ScriptedBackups.h"
#include "ScriptedPage.h"
#include "controller/ContainerOperations.h"
#include "controller/DataTurns.h"
#include "support/Await.h"

namespace orvanel::test {

/// The body of an operation that ends when the test completes the event.
inline QCoro::Task<Outcome> waitFor(Event<Outcome> end) {
    const Outcome outcome = co_await end;
    co_return outcome;
}

/// What the classes behind the operations need: a container's world, the operations' slot, scripted backups, and a
/// desktop that only records. There is no controller, and nothing polls.
class OperationsWorld : public ContainerWorld {
public:
    OperationsWorld() {
        backups.install(host);
        host.isPortFree = [](int) { return true; };
        host.isPortFreeForListening = host.isPortFree;
        host.findTool = [this](const QString& name) {
            return tools.contains(name) ? std::optional<QString>(u"/opt/bin/"_s + name) : std::nullopt;
        };
        host.rootHelper = [] { return std::nullopt; };
        docker.state().images["louislam/uptime-kuma:2"] = "sha256:1";
    }

    /// Lets everything happen that takes no time.
    void settle() {
        drainEvents();
        while (clock.untilNextTimer() == std::chrono::milliseconds(0)) {
            clock.advance({});
        }
    }

    /// Adds a running container, and the state that a poll would have published for it.
    void runServer() {
        standin::addContainer(docker.state(), "running");
        findContainer(context);
        state->update([](ControllerState& next) {
            next.dockerState = DockerState::ready;
            next.kuma = KumaState::running;
        });
    }

    QString message() const { return (*state)->error ? (*state)->error->message : QString(); }

    TaskScope tasks;
    QStringList tools;
    ScriptedBackups backups;
    RecordingDialogs dialogs;
    RecordingDesktop desktop;
    int refreshes = 0;
    const DataTurns dataTurns;
    const Operations::Refresh refresh = [this](std::stop_token) { return countRefresh(); };
    const std::shared_ptr<Operations> operations = std::make_shared<Operations>(*state, clock, tasks, refresh);
    ScriptedPage page{&clock};
    const ConversionWatch conversions{context, dialogs, [this](int port) { return page.pageAnswers(port); }};
    ContainerOperations containerOperations{context, *operations, conversions, dataTurns, dialogs, tasks};

private:
    QCoro::Task<void> countRefresh() {
        refreshes += 1;
        co_return;
    }
};

} // namespace orvanel::test
