#include "RuntimeWorld.h"

#include <stdexcept>

using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

/// Installing what is missing, and what both ways to a runtime have in common.
class TestRuntimeSetup : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runtimeThatAnswersIsOnlyLookedAt() {
        RuntimeWorld world({QStringLiteral("docker"), QStringLiteral("colima")});
        world.docker().compose = false;
        world.look();
        QCOMPARE(world.controller().dockerPath(), QStringLiteral("/opt/bin/docker"));
        QCOMPARE(world.controller().composeAvailable(), false);
        world.takeCommands();
        const qsizetype before = world.commands().size();
        // Another tool, with compose, has come meanwhile: it is found though the first one was known.
        world.installedDocker = QStringLiteral("/newer/docker");
        world.docker().compose = true;
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.takeCommands(),
                 QStringList({QStringLiteral("info"), QStringLiteral("inspect"), QStringLiteral("compose version")}));
        for (const Command& command : world.commands().sliced(before)) {
            QCOMPARE(command.path, QStringLiteral("/newer/docker"));
        }
        QVERIFY(world.controller().dockerState() == DockerState::ready);
        QCOMPARE(world.controller().dockerPath(), QStringLiteral("/newer/docker"));
        QCOMPARE(world.controller().composeAvailable(), true);
        QVERIFY(world.controller().setupLog().isEmpty());
        QVERIFY(!world.controller().setupBusy() && !world.controller().error());
    }

    void installsThenStartsThenWaits() {
        RuntimeWorld world({QStringLiteral("brew")});
        world.docker().daemon = standin::Daemon::down;
        world.docker().colimaDelay = 2;
        world.answer("brew install", 0, QStringLiteral("poured\n"));
        QStringList steps;
        connect(&world.controller(), &KumaController::changed, this, [&] {
            const QString step = world.controller().setupBusy().value_or(QString());
            if (steps.isEmpty() || steps.last() != step) {
                steps.append(step);
            }
            if (step == brewStep) {
                world.install(QStringLiteral("docker"));
                world.install(QStringLiteral("colima"));
            }
        });
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        world.controller().disconnect(this);

        QCOMPARE(world.takeCommands(),
                 QStringList({QStringLiteral("brew install"), QStringLiteral("info"), QStringLiteral("colima start"),
                              QStringLiteral("ps"), QStringLiteral("ps"), QStringLiteral("ps"),
                              QStringLiteral("inspect"), QStringLiteral("compose version")}));
        QCOMPARE(steps, QStringList({brewStep, colimaStep, QString()}));
        QVERIFY(!world.controller().error());
        QVERIFY(world.controller().dockerState() == DockerState::ready);
        const QString log = world.controller().setupLog();
        QVERIFY2(log.startsWith(QStringLiteral("$ brew install colima docker\npoured\n$ colima start\n")),
                 qPrintable(log));
    }

    void limitsAndHandles() {
        RuntimeWorld world({QStringLiteral("brew")});
        world.docker().daemon = standin::Daemon::down;
        world.answer("brew install", 0, QStringLiteral("poured\n"));
        connect(&world.controller(), &KumaController::changed, this, [&] {
            world.install(QStringLiteral("docker"));
            world.install(QStringLiteral("colima"));
        });
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        world.controller().disconnect(this);

        QMap<QString, Command> byName;
        for (const Command& command : world.commands()) {
            byName.insert(command.name(), command);
        }
        const Command brew = byName.value(QStringLiteral("brew install"));
        QCOMPARE(brew.arguments,
                 QStringList({QStringLiteral("install"), QStringLiteral("colima"), QStringLiteral("docker")}));
        QCOMPARE(brew.limit.count(), 1800.0);
        QVERIFY(brew.handle && brew.isWatched);
        const Command start = byName.value(QStringLiteral("colima start"));
        QCOMPARE(start.limit.count(), 900.0);
        QVERIFY(start.handle == brew.handle && start.isWatched);
        QCOMPARE(byName.value(QStringLiteral("info")).limit.count(), 15.0);
        QVERIFY(!byName.value(QStringLiteral("info")).handle);
        QCOMPARE(byName.value(QStringLiteral("ps")).limit.count(), 10.0);
        QVERIFY(!byName.value(QStringLiteral("ps")).handle);
    }

    void installIsNeededWithoutDockerToo() {
        RuntimeWorld world({QStringLiteral("brew"), QStringLiteral("colima")});
        world.answer("brew install", 0, QStringLiteral("nothing new\n"));
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.takeCommands(), QStringList(QStringLiteral("brew install")));
        QCOMPARE(world.message(), QStringLiteral("The docker command line tool was not found after the install."));
        QCOMPARE(world.details(), world.controller().setupLog());
        QVERIFY(world.details().contains(QStringLiteral("nothing new")));
    }

    void withoutHomebrew() {
        RuntimeWorld world({});
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QVERIFY(world.commands().isEmpty());
        QCOMPARE(world.message(),
                 QStringLiteral("Homebrew is not installed, so the app cannot install Colima for you."));
        QVERIFY(world.details().isEmpty());
    }

    void failedInstall() {
        RuntimeWorld world({QStringLiteral("brew")});
        world.answer("brew install", 1, QStringLiteral("no bottle\n"));
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), QStringLiteral("Homebrew could not install Colima and Docker."));
        QCOMPARE(world.details(), QStringLiteral("no bottle\n"));
        QVERIFY(world.controller().setupLog().contains(QStringLiteral("no bottle")));
        QVERIFY(!world.controller().setupBusy());
    }

    void installThatTakesTooLong() {
        RuntimeWorld world({QStringLiteral("brew")});
        world.hang("brew install", -1, QStringLiteral("fetching\n"));
        world.controller().installAndStartRuntime();
        world.advance(1799s);
        QCOMPARE(world.controller().setupBusy(), brewStep);
        world.advance(1s);
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), QStringLiteral("Homebrew could not install Colima and Docker."));
        QCOMPARE(world.details(), QStringLiteral("fetching\n"));
    }

    void cancelDuringTheInstall() {
        RuntimeWorld world({QStringLiteral("brew")});
        world.hang("brew install", -1, QStringLiteral("fetching\n"));
        world.controller().installAndStartRuntime();
        world.advance(5s);
        world.controller().cancelSetup();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), QStringLiteral("Cancelled."));
        QCOMPARE(world.details(), QStringLiteral("fetching\n"));
        QVERIFY(!world.controller().setupBusy());
        // Idle again: another setup may begin.
        world.answerAsUsual();
        world.controller().installAndStartRuntime();
        QCOMPARE(world.controller().setupBusy(), brewStep);
        QVERIFY(!world.controller().error());
        QVERIFY(world.setupEnds());
    }

    void cancelThatComesAsTheInstallEnds() {
        RuntimeWorld world({QStringLiteral("brew")});
        world.answer("brew install", 0, QStringLiteral("poured\n"), -1, 5s);
        // The tool takes no notice of the signal and ends well all the same.
        world.docker().overrides.back().ignoresTerm = true;
        world.controller().installAndStartRuntime();
        world.advance(1s);
        world.controller().cancelSetup();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.resultOf(QStringLiteral("brew install")).status, 0);
        QCOMPARE(world.message(), QStringLiteral("Cancelled."));
        QCOMPARE(world.details(), QStringLiteral("poured\n"));
        QCOMPARE(world.takeCommands(), QStringList(QStringLiteral("brew install")));
    }

    void secondRequestIsIgnored() {
        // With docker, so that a start of the runtime has something to run.
        RuntimeWorld world({QStringLiteral("docker"), QStringLiteral("brew")});
        world.look();
        QVERIFY(world.controller().dockerPath());
        world.hang("brew install", -1, QStringLiteral("fetching\n"));
        world.controller().installAndStartRuntime();
        world.advance(1s);
        world.takeCommands();
        const QString log = world.controller().setupLog();
        QCOMPARE(log, QStringLiteral("$ brew install colima docker\nfetching\n"));
        world.controller().installAndStartRuntime();
        world.controller().startRuntime();
        world.advance(1s);
        QCOMPARE(world.takeCommands(), QStringList());
        QCOMPARE(world.controller().setupLog(), log);
        // The first one can still be cancelled.
        world.controller().cancelSetup();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), QStringLiteral("Cancelled."));
    }

    void errorOfTheProgramEndsTheSetup_data() {
        QTest::addColumn<QStringList>("tools");
        QTest::addColumn<QString>("command");
        QTest::newRow("install") << QStringList(QStringLiteral("brew")) << "install";
        QTest::newRow("start") << QStringList({QStringLiteral("docker"), QStringLiteral("colima")}) << "info";
    }

    void errorOfTheProgramEndsTheSetup() {
        QFETCH(const QStringList, tools);
        QFETCH(const QString, command);
        RuntimeWorld world(tools);
        const RunCommand usual = world.runner;
        world.runner = [usual, command](QString path, QStringList arguments, std::chrono::duration<double> limit,
                                        std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput) {
            if (arguments.first() == command) {
                throw std::runtime_error("out of luck");
            }
            return usual(std::move(path), std::move(arguments), limit, std::move(handle), std::move(onOutput));
        };
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.controller().error(),
                 (OpError{QStringLiteral("Orvanel ran into an error of its own."), QStringLiteral("out of luck")}));
        QVERIFY(!world.controller().setupBusy());
        // Idle again: another setup may begin.
        world.runner = usual;
        world.takeCommands();
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QVERIFY(!world.takeCommands().isEmpty());
    }

    void logIsCapped() {
        RuntimeWorld world({QStringLiteral("brew")});
        const QString output = QString(40000, QLatin1Char('x')) + QStringLiteral("the end\n");
        world.answer("brew install", 1, output);
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.controller().setupLog().size(), 20000);
        QVERIFY(world.controller().setupLog().endsWith(QStringLiteral("the end\n")));
        QCOMPARE(world.details(), output);
    }

    void theEndOfPollingEndsTheSetup() {
        RuntimeWorld world({QStringLiteral("brew")});
        world.hang("brew install");
        world.controller().installAndStartRuntime();
        world.advance(1s);
        world.controller().shutdownPolling();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), QStringLiteral("Cancelled."));
    }
};

QTEST_GUILESS_MAIN(TestRuntimeSetup)
#include "TestRuntimeSetup.moc"
