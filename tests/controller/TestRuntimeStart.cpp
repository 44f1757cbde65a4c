#include "RuntimeWorld.h"
#include "support/Await.h"

using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

/// Starting Colima, and waiting for what it starts.
class TestRuntimeStart : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void startWithoutDockerDoesNothing() {
        RuntimeWorld world({QStringLiteral("colima")});
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        const auto error = world.controller().error();
        const QString log = world.controller().setupLog();
        QVERIFY(error);
        world.controller().startRuntime();
        QVERIFY(world.controller().isIdle());
        QVERIFY(world.controller().error() == error);
        QCOMPARE(world.controller().setupLog(), log);
    }

    void startWithoutColima() {
        RuntimeWorld world({QStringLiteral("docker")});
        world.docker().daemon = standin::Daemon::down;
        world.controller().begin();
        world.settle();
        world.controller().startRuntime();
        world.advance(1s);
        QCOMPARE(world.message(), QStringLiteral("Colima is not installed."));
        QVERIFY2(world.details().contains(QStringLiteral("Cannot connect")), qPrintable(world.details()));
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
        RuntimeWorld world({QStringLiteral("docker"), QStringLiteral("colima")});
        world.docker().daemon = standin::Daemon::down;
        const auto output = QStringLiteral("no virtual machines here\n");
        if (hangs) {
            world.hang("colima start", -1, output);
        } else {
            world.answer("colima start", 1, output);
        }
        world.controller().installAndStartRuntime();
        world.advance(901s);
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), QStringLiteral("Colima could not start."));
        QCOMPARE(world.details(), output);
        QCOMPARE(world.resultOf(QStringLiteral("colima start")).timedOut, hangs);
        QVERIFY(world.controller().dockerState() != DockerState::ready);
    }

    void startsAndWaits() {
        RuntimeWorld world({QStringLiteral("docker"), QStringLiteral("colima")});
        world.docker().daemon = standin::Daemon::down;
        world.docker().colimaDelay = 2;
        world.look();
        QVERIFY(world.controller().dockerState() == DockerState::notRunning);
        world.takeCommands();
        QStringList steps;
        connect(&world.controller(), &KumaController::changed, this, [&] {
            const QString step = world.controller().setupBusy().value_or(QString());
            if (steps.isEmpty() || steps.last() != step) {
                steps.append(step);
            }
        });
        world.controller().startRuntime();
        QVERIFY(world.setupEnds());
        world.controller().disconnect(this);

        QCOMPARE(world.takeCommands(), names({"info", "colima start", "ps", "ps", "ps", "inspect", "compose version"}));
        QCOMPARE(steps, QStringList({colimaStep, QString()}));
        QVERIFY(world.controller().dockerState() == DockerState::ready);
        QVERIFY(!world.controller().error() && !world.controller().setupBusy());
        QCOMPARE(world.controller().composeAvailable(), true);
        QCOMPARE(world.controller().setupLog(),
                 QStringLiteral("$ colima start\n") + world.resultOf(QStringLiteral("colima start")).output);
        QVERIFY(world.controller().setupLog().endsWith(QStringLiteral("msg=done\n")));
    }

    void cancelDuringTheStart_data() {
        QTest::addColumn<bool>("ignoresTheSignal");
        QTest::newRow("ended") << false;
        QTest::newRow("ends well all the same") << true;
    }

    void cancelDuringTheStart() {
        QFETCH(const bool, ignoresTheSignal);
        RuntimeWorld world({QStringLiteral("docker"), QStringLiteral("colima")});
        world.docker().daemon = standin::Daemon::down;
        const auto output = QStringLiteral("starting\n");
        if (ignoresTheSignal) {
            world.answer("colima start", 0, output, -1, 5s);
            world.docker().overrides.back().ignoresTerm = true;
        } else {
            world.hang("colima start", -1, output);
        }
        world.look();
        world.controller().startRuntime();
        world.settle();
        QCOMPARE(world.controller().setupBusy(), colimaStep);
        world.controller().cancelSetup();
        QVERIFY(world.setupEnds());
        const CommandResult result = world.resultOf(QStringLiteral("colima start"));
        QVERIFY(result.cancelled && (result.status == 0) == ignoresTheSignal);
        QCOMPARE(world.controller().error(), (OpError{QStringLiteral("Cancelled."), output}));
        QVERIFY(!world.controller().setupBusy());
        QVERIFY(!world.takeCommands().contains(QStringLiteral("ps")));
        // Idle again: another setup may begin.
        world.answerAsUsual();
        world.controller().startRuntime();
        QVERIFY(world.setupEnds());
        QVERIFY(world.controller().dockerState() == DockerState::ready);
    }

    void toolChosenMeanwhileIsNotCalledReady_data() {
        QTest::addColumn<bool>("isUp");
        QTest::newRow("during the look") << true;
        QTest::newRow("during the wait") << false;
    }

    void toolChosenMeanwhileIsNotCalledReady() {
        QFETCH(const bool, isUp);
        RuntimeWorld world({QStringLiteral("docker"), QStringLiteral("colima")});
        world.docker().daemon = standin::Daemon::down;
        world.docker().colimaDelay = 3;
        world.look();
        if (isUp) {
            world.docker().daemon = standin::Daemon::up;
            world.delay("info", 5s, 1);
        }
        world.controller().startRuntime();
        world.advance(1s);
        world.executables = {QStringLiteral("/mine/docker")};
        world.answer("inspect", 1, QStringLiteral("Cannot connect to the Docker daemon"));
        world.controller().setDockerOverride(QStringLiteral("/mine/docker"));
        QList<DockerState> states;
        connect(&world.controller(), &KumaController::changed, this,
                [&] { states.append(world.controller().dockerState()); });
        QVERIFY(world.setupEnds());
        world.controller().disconnect(this);
        QVERIFY(!states.isEmpty() && !states.contains(DockerState::ready));
        // The one that was chosen is looked at all the same.
        QCOMPARE(world.commands().last().path, QStringLiteral("/mine/docker"));
        QVERIFY(world.controller().dockerState() == DockerState::notRunning);
        QVERIFY(world.takeCommands().contains(QStringLiteral("ps")) != isUp);
    }

    void secondRequestIsIgnored() {
        RuntimeWorld world({QStringLiteral("docker"), QStringLiteral("colima")});
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
        QCOMPARE(world.controller().setupLog(), QStringLiteral("$ colima start\n"));
        world.controller().cancelSetup();
        QVERIFY(world.setupEnds());
    }

    void daemonThatNeverAnswers() {
        RuntimeWorld world({QStringLiteral("docker"), QStringLiteral("colima")});
        world.docker().daemon = standin::Daemon::down;
        world.docker().colimaDelay = -1;
        world.controller().installAndStartRuntime();
        const auto begun = world.clock.now();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.takeCommands().count(QStringLiteral("ps")), 10);
        QVERIFY(world.clock.now() - begun >= 20s);
        QCOMPARE(world.message(), QStringLiteral("Colima started but the Docker daemon is not answering."));
        const auto isStart = [](const Command& command) { return command.name() == QStringLiteral("colima start"); };
        const auto start = std::find_if(world.commands().begin(), world.commands().end(), isStart);
        QCOMPARE(world.details(), start->result->output);
    }

    void cancelDuringTheWaitOnlyCutsThePauses() {
        RuntimeWorld world({QStringLiteral("docker"), QStringLiteral("colima")});
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
        QCOMPARE(world.takeCommands().count(QStringLiteral("ps")), 10);
        QCOMPARE(world.message(), QStringLiteral("Colima started but the Docker daemon is not answering."));
    }

    void runsBesideAContainerOperation() {
        RuntimeWorld world({QStringLiteral("docker"), QStringLiteral("colima"), QStringLiteral("brew")});
        world.delay("compose up", 20s);
        world.controller().start();
        world.advance(5s);
        QVERIFY(world.controller().busy());
        world.controller().startRuntime();
        world.settle();
        QVERIFY(world.controller().dockerState() == DockerState::ready);
        QVERIFY(world.controller().busy());
        QVERIFY(world.setupEnds());
        QVERIFY(!world.controller().busy() && !world.controller().setupBusy());
    }
};

QTEST_GUILESS_MAIN(TestRuntimeStart)
#include "TestRuntimeStart.moc"
