#include "RuntimeWorld.h"
#include "support/Await.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

/// Starting Colima, and waiting for what it starts.
class TestRuntimeStart : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void startWithoutDockerDoesNothing() {
        RuntimeWorld world({u"colima"_s});
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        const auto error = world.controller().state().error;
        const QString log = world.controller().state().setupLog;
        QVERIFY(error);
        world.controller().startRuntime();
        QVERIFY(world.controller().isIdle());
        QVERIFY(world.controller().state().error == error);
        QCOMPARE(world.controller().state().setupLog, log);
    }

    void startWithoutColima() {
        RuntimeWorld world({u"docker"_s});
        world.docker().daemon = standin::Daemon::down;
        world.controller().begin();
        world.settle();
        world.controller().startRuntime();
        world.advance(1s);
        QCOMPARE(world.message(), u"Colima is not installed."_s);
        QVERIFY2(world.details().contains(u"Cannot connect"_s), qPrintable(world.details()));
        world.controller().shutdownPolling();
        QVERIFY(world.setupEnds());
    }

    void colimaThatCannotStart_data() {
        QTest::addColumn<bool>("hangs");
        QTest::newRow("fails") << false;
        QTest::newRow("takes too long") << true;
    }

    void colimaThatCannotStart() {
        QFETCH(const bool, hangs);
        RuntimeWorld world({u"docker"_s, u"colima"_s});
        world.docker().daemon = standin::Daemon::down;
        const auto output = u"no virtual machines here\n"_s;
        if (hangs) {
            world.hang("colima start", -1, output);
        } else {
            world.answer("colima start", 1, output);
        }
        world.controller().installAndStartRuntime();
        world.advance(901s);
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"Colima could not start."_s);
        QCOMPARE(world.details(), output);
        QCOMPARE(world.resultOf(u"colima start"_s).timedOut, hangs);
        QVERIFY(world.controller().state().dockerState != DockerState::ready);
    }

    void startsAndWaits() {
        RuntimeWorld world({u"docker"_s, u"colima"_s});
        world.docker().daemon = standin::Daemon::down;
        world.docker().colimaDelay = 2;
        world.look();
        QVERIFY(world.controller().state().dockerState == DockerState::notRunning);
        world.takeCommands();
        QStringList steps;
        connect(&world.controller(), &KumaController::changed, this, [&] {
            const QString step = world.controller().state().setupBusy.value_or(QString());
            if (steps.isEmpty() || steps.last() != step) {
                steps.append(step);
            }
        });
        world.controller().startRuntime();
        QVERIFY(world.setupEnds());
        world.controller().disconnect(this);

        QCOMPARE(world.takeCommands(), names({"info", "colima start", "ps", "ps", "ps", "inspect", "compose version"}));
        QCOMPARE(steps, QStringList({colimaStep, QString()}));
        QVERIFY(world.controller().state().dockerState == DockerState::ready);
        QVERIFY(!world.controller().state().error && !world.controller().state().setupBusy);
        QCOMPARE(world.controller().state().composeAvailable, true);
        QCOMPARE(world.controller().state().setupLog, u"$ colima start\n"_s + world.resultOf(u"colima start"_s).output);
        QVERIFY(world.controller().state().setupLog.endsWith(u"msg=done\n"_s));
    }

    void cancelDuringTheStart_data() {
        QTest::addColumn<bool>("ignoresTheSignal");
        QTest::newRow("ended") << false;
        QTest::newRow("ends well all the same") << true;
    }

    void cancelDuringTheStart() {
        QFETCH(const bool, ignoresTheSignal);
        RuntimeWorld world({u"docker"_s, u"colima"_s});
        world.docker().daemon = standin::Daemon::down;
        const auto output = u"starting\n"_s;
        if (ignoresTheSignal) {
            world.answer("colima start", 0, output, -1, 4s);
            world.docker().overrides.back().ignoresTerm = true;
        } else {
            world.hang("colima start", -1, output);
        }
        world.look();
        world.controller().startRuntime();
        world.settle();
        QCOMPARE(world.controller().state().setupBusy, colimaStep);
        world.controller().cancelSetup();
        QVERIFY(world.setupEnds());
        const CommandResult result = world.resultOf(u"colima start"_s);
        QVERIFY(result.cancelled && (result.status == 0) == ignoresTheSignal);
        QCOMPARE(world.controller().state().error, (OpError{u"Cancelled."_s, output}));
        QVERIFY(!world.controller().state().setupBusy);
        QVERIFY(!world.takeCommands().contains(u"ps"_s));
        // Idle again: another setup may begin.
        world.answerAsUsual();
        world.controller().startRuntime();
        QVERIFY(world.setupEnds());
        QVERIFY(world.controller().state().dockerState == DockerState::ready);
    }

    void toolChosenMeanwhileIsNotCalledReady_data() {
        QTest::addColumn<bool>("isUp");
        QTest::newRow("during the look") << true;
        QTest::newRow("during the wait") << false;
    }

    void toolChosenMeanwhileIsNotCalledReady() {
        QFETCH(const bool, isUp);
        RuntimeWorld world({u"docker"_s, u"colima"_s});
        world.docker().daemon = standin::Daemon::down;
        world.docker().colimaDelay = 3;
        world.look();
        if (isUp) {
            world.docker().daemon = standin::Daemon::up;
            world.delay("info", 5s, 1);
        }
        world.controller().startRuntime();
        world.advance(1s);
        world.executables = {u"/mine/docker"_s};
        world.answer("inspect", 1, u"Cannot connect to the Docker daemon"_s);
        world.controller().setDockerOverride(u"/mine/docker"_s);
        QList<DockerState> states;
        connect(&world.controller(), &KumaController::changed, this,
                [&] { states.append(world.controller().state().dockerState); });
        QVERIFY(world.setupEnds());
        world.controller().disconnect(this);
        QVERIFY(!states.isEmpty() && !states.contains(DockerState::ready));
        // The one that was chosen is looked at all the same.
        QCOMPARE(world.commands().last().path, u"/mine/docker"_s);
        QVERIFY(world.controller().state().dockerState == DockerState::notRunning);
        QVERIFY(world.takeCommands().contains(u"ps"_s) != isUp);
    }

    void secondRequestIsIgnored() {
        RuntimeWorld world({u"docker"_s, u"colima"_s});
        world.docker().daemon = standin::Daemon::down;
        world.look();
        world.hang("colima start");
        world.controller().startRuntime();
        world.settle();
        world.takeCommands();
        world.controller().startRuntime();
        world.controller().installAndStartRuntime();
        world.advance(1s);
        QCOMPARE(world.takeCommands(), QStringList());
        QCOMPARE(world.controller().state().setupLog, u"$ colima start\n"_s);
        world.controller().cancelSetup();
        QVERIFY(world.setupEnds());
    }

    void daemonThatNeverAnswers() {
        RuntimeWorld world({u"docker"_s, u"colima"_s});
        world.docker().daemon = standin::Daemon::down;
        world.docker().colimaDelay = -1;
        world.controller().installAndStartRuntime();
        const auto begun = world.clock.now();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.takeCommands().count(u"ps"_s), 10);
        QVERIFY(world.clock.now() - begun >= 20s);
        QCOMPARE(world.message(), u"Colima started but the Docker daemon is not answering."_s);
        const auto isStart = [](const Command& command) { return command.name() == u"colima start"_s; };
        const auto start = std::find_if(world.commands().begin(), world.commands().end(), isStart);
        QCOMPARE(world.details(), start->result->output);
    }

    void cancelDuringTheWaitOnlyCutsThePauses() {
        RuntimeWorld world({u"docker"_s, u"colima"_s});
        world.docker().daemon = standin::Daemon::down;
        world.docker().colimaDelay = -1;
        world.controller().installAndStartRuntime();
        world.advance(3s);
        const auto cancelled = world.clock.now();
        world.controller().cancelSetup();
        world.settle();
        QVERIFY(waitUntil([&] {
            world.settle();
            return world.controller().isIdle();
        }));
        QVERIFY(world.clock.now() - cancelled < 1s);
        QCOMPARE(world.takeCommands().count(u"ps"_s), 10);
        QCOMPARE(world.message(), u"Colima started but the Docker daemon is not answering."_s);
    }

    void portThatWasOfferedGoesWithItsError() {
        RuntimeWorld world({u"docker"_s, u"colima"_s, u"brew"_s});
        world.listeningPorts = {3001};
        world.controller().start();
        QVERIFY(world.operationEnds());
        QVERIFY(world.controller().state().suggestedPort.has_value());
        world.controller().startRuntime();
        QVERIFY(!world.controller().state().error && !world.controller().state().suggestedPort);
        QVERIFY(world.setupEnds());
        QVERIFY(!world.controller().state().suggestedPort);
    }

    /// Somebody else has started Docker during the setup, and the user has pressed Start then.
    void portThatWasOfferedMeanwhileGoesWithItsError() {
        RuntimeWorld world({u"docker"_s, u"colima"_s});
        world.docker().daemon = standin::Daemon::down;
        world.listeningPorts = {3001};
        world.answer("colima start", 1, u"no virtual machines here\n"_s, -1, 20s);
        world.look();
        world.controller().startRuntime();
        world.advance(1s);
        world.docker().daemon = standin::Daemon::up;
        world.controller().start();
        world.advance(1s);
        QVERIFY(world.controller().state().suggestedPort.has_value());
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"Colima could not start."_s);
        QVERIFY(!world.controller().state().suggestedPort);
    }

    void runsBesideAContainerOperation() {
        RuntimeWorld world({u"docker"_s, u"colima"_s, u"brew"_s});
        world.delay("compose up", 20s);
        world.controller().start();
        world.advance(5s);
        QVERIFY(world.controller().state().busy);
        world.controller().startRuntime();
        world.settle();
        QVERIFY(world.controller().state().dockerState == DockerState::ready);
        QVERIFY(world.controller().state().busy);
        QVERIFY(world.setupEnds());
        QVERIFY(!world.controller().state().busy && !world.controller().state().setupBusy);
    }
};

ORVANEL_TEST(TestRuntimeStart)
#include "TestRuntimeStart.moc"
