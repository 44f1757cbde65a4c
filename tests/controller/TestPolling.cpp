#include "ControllerFixture.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

/// The poll loop, the tools it looks for, rechecks beside it, and its end.
class TestPolling : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutAToolNothingIsRun() {
        ControllerFixture world;
        world.installedDocker = std::nullopt;
        world.controller().begin();
        world.settle();
        QVERIFY(world.controller().state().dockerState == DockerState::missing);
        QVERIFY(world.controller().state().kuma == KumaState::stopped);
        QVERIFY(world.commands().isEmpty());
        QVERIFY(world.page.questions.isEmpty());
        QCOMPARE(world.toolSearches, names({"brew", "colima"}));
    }

    void aTickThatFailsIsNotTheLastOne() {
        ControllerFixture world;
        const RunCommand usual = world.runner;
        world.runner = [](QString, QStringList, std::chrono::duration<double>, std::shared_ptr<ProcessHandle>,
                          DockerCLI::OutputCallback) -> QCoro::Task<CommandResult> {
            throw std::runtime_error("out of luck");
        };
        QTest::ignoreMessage(QtWarningMsg, "A poll ended with an error: out of luck");
        world.controller().begin();
        world.settle();
        QVERIFY(world.controller().state().dockerState == DockerState::notRunning);
        world.runner = usual;
        world.advance(3s);
        QVERIFY(world.controller().state().dockerState == DockerState::ready);
    }

    void toolsAreNoticedWithinOnePeriod() {
        ControllerFixture world;
        world.installedDocker = std::nullopt;
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        QVERIFY(!kuma.state().brewPath && !kuma.state().colimaPath);
        world.installedTools = {{u"brew"_s, u"/b/brew"_s}, {u"colima"_s, u"/c/colima"_s}};
        world.installedDocker = u"/new/docker"_s;
        world.advance(3s);
        QCOMPARE(kuma.state().brewPath, std::optional(u"/b/brew"_s));
        QCOMPARE(kuma.state().colimaPath, std::optional(u"/c/colima"_s));
        QCOMPARE(kuma.state().dockerPath, std::optional(u"/new/docker"_s));
        QVERIFY(kuma.state().dockerState == DockerState::ready);
        QCOMPARE(world.commands().first().path, u"/new/docker"_s);
        world.installedTools.clear();
        world.advance(3s);
        QVERIFY(!kuma.state().brewPath && !kuma.state().colimaPath);
    }

    void dockerIsSearchedForOnlyWhileItIsNotKnown() {
        ControllerFixture world;
        world.installedDocker = std::nullopt;
        world.controller().begin();
        world.advance(6s);
        QCOMPARE(world.dockerSearches, 3);
        world.installedDocker = u"/opt/bin/docker"_s;
        world.advance(9s);
        QCOMPARE(world.dockerSearches, 4);
        QCOMPARE(world.toolSearches.size(), 12);
    }

    void loopAsksAtOnceAndEveryThreeSeconds() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.begin();
        kuma.begin(); // there is only one loop
        world.settle();
        QCOMPARE(world.takeCommands(), names({"inspect", "compose version"}));
        world.advance(2999ms);
        QCOMPARE(world.takeCommands(), QStringList());
        world.advance(1ms);
        QCOMPARE(world.takeCommands(), names({"inspect"}));
        world.advance(30s);
        QCOMPARE(world.takeCommands().size(), 10);
    }

    void pauseBeginsWhenTheWorkIsDone() {
        ControllerFixture world;
        world.latency = [](const QString& command) { return command == u"inspect" ? 2s : 0s; };
        world.controller().begin();
        world.advance(2s); // the first probe has just ended
        world.takeCommands();
        world.advance(2999ms);
        QCOMPARE(world.takeCommands(), QStringList());
        world.advance(1ms);
        QCOMPARE(world.takeCommands(), names({"inspect"}));
    }

    void commandLinesOfAPoll() {
        ControllerFixture world;
        world.controller().begin();
        world.settle();
        QCOMPARE(world.commands().size(), 2);
        const Command& probe = world.commands().first();
        QCOMPARE(probe.path, u"/opt/bin/docker"_s);
        QCOMPARE(probe.arguments, names({"inspect", "-f", "{{.State.Status}}", "orvanel"}));
        QCOMPARE(probe.limit.count(), 10.0);
        const Command& compose = world.commands().last();
        QCOMPARE(compose.arguments, names({"compose", "version"}));
        QCOMPARE(compose.limit.count(), 10.0);
        for (const Command& command : world.commands()) {
            QVERIFY(!command.handle && !command.isWatched);
        }
    }

    void hangingToolLeavesTheInterfaceAlive() {
        ControllerFixture world;
        world.docker().daemon = standin::Daemon::hangs;
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        kuma.setPort(4000);
        kuma.setDockerOverride(u"/mine/docker"_s);
        QCOMPARE(kuma.state().port, 4000);
        kuma.start();
        QVERIFY(kuma.state().busy.has_value());
        kuma.cancelOperation();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
    }

    void busyProgramIsLeftAlone() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(u"home"_s);
        QVERIFY(world.isPolledAsRunning());
        world.takeCommands();
        const int searches = world.dockerSearches;
        world.toolSearches.clear();
        world.installedTools = {{u"brew"_s, u"/b/brew"_s}};
        world.delay("inspect", 9s); // of the operation
        kuma.stop();
        world.advance(9s);
        world.delay("compose stop", 50s);
        world.advance(40s);
        QVERIFY(kuma.state().busy.has_value());
        QVERIFY(!kuma.state().brewPath);
        QVERIFY(world.toolSearches.isEmpty());
        QCOMPARE(world.dockerSearches, searches);
        QCOMPARE(world.page.reads.size(), 1);
        QVERIFY(kuma.state().kuma == KumaState::running);
        for (const QString& command : world.takeCommands()) {
            QVERIFY(command == u"inspect" || command == u"compose stop");
        }
    }

    void overrideThatIsNoToolFallsBack() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setDockerOverride(u"/nowhere/docker"_s);
        kuma.begin();
        world.settle();
        QCOMPARE(kuma.state().dockerPath, std::optional(u"/opt/bin/docker"_s));
        QVERIFY(kuma.state().dockerState == DockerState::ready);
    }

    void recheckForgetsAndLooksAgain() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.takeCommands();
        world.installedDocker = u"/new/docker"_s;
        world.delay("inspect", 2s);
        kuma.recheck();
        QVERIFY(kuma.state().dockerState == DockerState::unknown);
        QVERIFY(!kuma.state().dockerPath);
        QCOMPARE(kuma.statusLine(), u"Checking Docker…"_s);
        world.settle();
        QVERIFY(kuma.state().dockerState == DockerState::notRunning);
        QCOMPARE(kuma.state().dockerPath, std::optional(u"/new/docker"_s));
        QCOMPARE(world.takeCommands(), names({"inspect"}));
        world.advance(2s);
        QVERIFY(kuma.state().dockerState == DockerState::ready);
        QVERIFY(kuma.state().kuma == KumaState::running);
    }

    void recheckWorksWithoutTheLoopAndKeepsTheLoop() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.recheck();
        world.settle();
        QVERIFY(kuma.state().dockerState == DockerState::ready);
        QVERIFY(kuma.isIdle());
        world.advance(60s);
        QCOMPARE(world.takeCommands(), names({"inspect", "compose version"}));
        kuma.begin();
        kuma.recheck();
        world.advance(3s);
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect", "inspect"}));
    }

    void rechecksMayOverlapAndTheLastAnswerWins() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.answer("inspect", 1, u"Cannot connect to the Docker daemon"_s, 1, 5s);
        world.answer("inspect", 0, u"exited"_s, 1, 2s);
        kuma.begin();
        world.settle();
        kuma.recheck();
        world.settle();
        QCOMPARE(world.underWay(), names({"inspect", "inspect"}));
        world.advance(2s);
        QVERIFY(kuma.state().dockerState == DockerState::ready);
        world.advance(3s);
        QVERIFY(kuma.state().dockerState == DockerState::notRunning);
    }

    void recheckDuringAnOperationWaitsForItsEnd() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.delay("inspect", 2s, 1);
        kuma.stop();
        world.settle();
        kuma.recheck();
        world.settle();
        QVERIFY(kuma.state().dockerState == DockerState::unknown);
        QVERIFY(!kuma.state().dockerPath);
        QCOMPARE(kuma.statusLine(), u"Stopping…"_s);
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().dockerState == DockerState::ready);
        QVERIFY(kuma.state().kuma == KumaState::stopped);
        QVERIFY(!kuma.state().error);
    }

    void shutdownEndsTheLoop() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.takeCommands();
        kuma.shutdownPolling();
        kuma.shutdownPolling();
        QVERIFY(world.everythingEnds());
        world.advance(60s);
        QVERIFY(kuma.isIdle());
        QCOMPARE(world.takeCommands(), QStringList());
        QCOMPARE(world.clock.pendingTimers(), 0);
    }

    void shutdownBeforeAnythingBeganIsHarmless() {
        ControllerFixture world;
        world.controller().shutdownPolling();
        world.controller().begin();
        world.settle();
        QVERIFY(world.controller().state().dockerState == DockerState::ready);
    }

    void shutdownDuringAProbeDropsItsResult() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        kuma.setSlug(u"home"_s);
        world.answer("inspect", 1, u"Cannot connect to the Docker daemon"_s, 1, 5s);
        world.advance(3s);
        kuma.shutdownPolling();
        world.advance(5s);
        QVERIFY(kuma.isIdle());
        QVERIFY(kuma.state().dockerState == DockerState::ready);
        QVERIFY(kuma.state().kuma == KumaState::running);
        // The loop does not go on to the status page either.
        QCOMPARE(world.page.reads.size(), 0);
    }

    void shutdownDuringARead() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(u"home"_s);
        world.page.holdsReads = true;
        QVERIFY(world.isPolledAsRunning());
        world.takeCommands();
        kuma.shutdownPolling();
        world.advance(10s);
        QVERIFY(!kuma.isIdle());
        world.page.letGo();
        world.settle();
        QVERIFY(kuma.isIdle());
        QCOMPARE(world.takeCommands(), QStringList());
    }

    void loopMayBeginAnewBesideTheEndOfTheOldOne() {
        ControllerFixture world;
        world.delay("inspect", 5s, 1);
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        kuma.shutdownPolling();
        kuma.begin();
        world.advance(5s);
        world.takeCommands();
        world.advance(30s);
        QCOMPARE(world.takeCommands().count(u"inspect"_s), 10);
    }

    void shutdownLetsAnOperationGoOn() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.delay("inspect", 3s, 1);
        kuma.stop();
        world.settle();
        kuma.shutdownPolling();
        QVERIFY(kuma.state().busy.has_value());
        QVERIFY(world.operationEnds());
        QCOMPARE(world.docker().container->state, std::string("exited"));
        QVERIFY(kuma.state().kuma == KumaState::stopped);
        world.settle();
        QVERIFY(kuma.isIdle());
    }
};

ORVANEL_TEST(TestPolling)
#include "TestPolling.moc"
