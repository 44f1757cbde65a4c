#include "RuntimeWorld.h"
#include "support/TestClass.h"

#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

/// Installing what is missing, and what both ways to a runtime have in common.
class TestRuntimeSetup : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runtimeThatAnswersIsOnlyLookedAt() {
        RuntimeWorld world({u"docker"_s, u"colima"_s});
        world.docker().compose = false;
        world.look();
        QCOMPARE(world.controller().state().dockerPath, u"/opt/bin/docker"_s);
        QCOMPARE(world.controller().state().composeAvailable, false);
        world.takeCommands();
        const qsizetype before = world.commands().size();
        // Another tool, with compose, has come meanwhile: it is found though the first one was known.
        world.installedDocker = u"/newer/docker"_s;
        world.docker().compose = true;
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.takeCommands(), QStringList({u"info"_s, u"inspect"_s, u"compose version"_s}));
        for (const Command& command : world.commands().sliced(before)) {
            QCOMPARE(command.path, u"/newer/docker"_s);
        }
        QVERIFY(world.controller().state().dockerState == DockerState::ready);
        QCOMPARE(world.controller().state().dockerPath, u"/newer/docker"_s);
        QCOMPARE(world.controller().state().composeAvailable, true);
        QVERIFY(world.controller().state().setupLog.isEmpty());
        QVERIFY(!world.controller().state().setupBusy && !world.controller().state().error);
    }

    void installsThenStartsThenWaits() {
        RuntimeWorld world({u"brew"_s});
        world.docker().daemon = standin::Daemon::down;
        world.docker().colimaDelay = 2;
        world.answer("brew install", 0, u"poured\n"_s);
        QStringList steps;
        connect(&world.controller(), &KumaController::changed, this, [&] {
            const QString step = world.controller().state().setupBusy.value_or(QString());
            if (steps.isEmpty() || steps.last() != step) {
                steps.append(step);
            }
            if (step == brewStep) {
                world.install(u"docker"_s);
                world.install(u"colima"_s);
            }
        });
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        world.controller().disconnect(this);

        QCOMPARE(world.takeCommands(), QStringList({u"brew install"_s, u"info"_s, u"colima start"_s, u"ps"_s, u"ps"_s,
                                                    u"ps"_s, u"inspect"_s, u"compose version"_s}));
        QCOMPARE(steps, QStringList({brewStep, colimaStep, QString()}));
        QVERIFY(!world.controller().state().error);
        QVERIFY(world.controller().state().dockerState == DockerState::ready);
        const QString log = world.controller().state().setupLog;
        QVERIFY2(log.startsWith(u"$ brew install colima docker\npoured\n$ colima start\n"_s), qPrintable(log));
    }

    void limitsAndHandles() {
        RuntimeWorld world({u"brew"_s});
        world.docker().daemon = standin::Daemon::down;
        world.answer("brew install", 0, u"poured\n"_s);
        connect(&world.controller(), &KumaController::changed, this, [&] {
            world.install(u"docker"_s);
            world.install(u"colima"_s);
        });
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        world.controller().disconnect(this);

        QMap<QString, Command> byName;
        for (const Command& command : world.commands()) {
            byName.insert(command.name(), command);
        }
        const Command brew = byName.value(u"brew install"_s);
        QCOMPARE(brew.arguments, QStringList({u"install"_s, u"colima"_s, u"docker"_s}));
        QCOMPARE(brew.limit.count(), 1800.0);
        QVERIFY(brew.handle && brew.isWatched);
        const Command start = byName.value(u"colima start"_s);
        QCOMPARE(start.limit.count(), 900.0);
        QVERIFY(start.handle == brew.handle && start.isWatched);
        QCOMPARE(byName.value(u"info"_s).limit.count(), 15.0);
        QVERIFY(!byName.value(u"info"_s).handle);
        QCOMPARE(byName.value(u"ps"_s).limit.count(), 10.0);
        QVERIFY(!byName.value(u"ps"_s).handle);
    }

    void installIsNeededWithoutDockerToo() {
        RuntimeWorld world({u"brew"_s, u"colima"_s});
        world.answer("brew install", 0, u"nothing new\n"_s);
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.takeCommands(), QStringList(u"brew install"_s));
        QCOMPARE(world.message(), u"The docker command line tool was not found after the install."_s);
        QCOMPARE(world.details(), world.controller().state().setupLog);
        QVERIFY(world.details().contains(u"nothing new"_s));
    }

    void withoutHomebrew() {
        RuntimeWorld world({});
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QVERIFY(world.commands().isEmpty());
        QCOMPARE(world.message(), u"Homebrew is not installed, so the app cannot install Colima for you."_s);
        QVERIFY(world.details().isEmpty());
    }

    void failedInstall() {
        RuntimeWorld world({u"brew"_s});
        world.answer("brew install", 1, u"no bottle\n"_s);
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"Homebrew could not install Colima and Docker."_s);
        QCOMPARE(world.details(), u"no bottle\n"_s);
        QVERIFY(world.controller().state().setupLog.contains(u"no bottle"_s));
        QVERIFY(!world.controller().state().setupBusy);
    }

    void installThatTakesTooLong() {
        RuntimeWorld world({u"brew"_s});
        world.hang("brew install", -1, u"fetching\n"_s);
        world.controller().installAndStartRuntime();
        world.advance(1799s);
        QCOMPARE(world.controller().state().setupBusy, brewStep);
        world.advance(1s);
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"Homebrew could not install Colima and Docker."_s);
        QCOMPARE(world.details(), u"fetching\n"_s);
    }

    void cancelDuringTheInstall() {
        RuntimeWorld world({u"brew"_s});
        world.hang("brew install", -1, u"fetching\n"_s);
        world.controller().installAndStartRuntime();
        world.advance(5s);
        world.controller().cancelSetup();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"Cancelled."_s);
        QCOMPARE(world.details(), u"fetching\n"_s);
        QVERIFY(!world.controller().state().setupBusy);
        // Idle again: another setup may begin.
        world.answerAsUsual();
        world.controller().installAndStartRuntime();
        QCOMPARE(world.controller().state().setupBusy, brewStep);
        QVERIFY(!world.controller().state().error);
        QVERIFY(world.setupEnds());
    }

    void cancelThatComesAsTheInstallEnds() {
        RuntimeWorld world({u"brew"_s});
        world.answer("brew install", 0, u"poured\n"_s, -1, 5s);
        // The tool takes no notice of the signal and ends well all the same.
        world.docker().overrides.back().ignoresTerm = true;
        world.controller().installAndStartRuntime();
        world.advance(1s);
        world.controller().cancelSetup();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.resultOf(u"brew install"_s).status, 0);
        QCOMPARE(world.message(), u"Cancelled."_s);
        QCOMPARE(world.details(), u"poured\n"_s);
        QCOMPARE(world.takeCommands(), QStringList(u"brew install"_s));
    }

    void secondRequestIsIgnored() {
        // With docker, so that a start of the runtime has something to run.
        RuntimeWorld world({u"docker"_s, u"brew"_s});
        world.look();
        QVERIFY(world.controller().state().dockerPath);
        world.hang("brew install", -1, u"fetching\n"_s);
        world.controller().installAndStartRuntime();
        world.advance(1s);
        world.takeCommands();
        const QString log = world.controller().state().setupLog;
        QCOMPARE(log, u"$ brew install colima docker\nfetching\n"_s);
        world.controller().installAndStartRuntime();
        world.controller().startRuntime();
        world.advance(1s);
        QCOMPARE(world.takeCommands(), QStringList());
        QCOMPARE(world.controller().state().setupLog, log);
        // The first one can still be cancelled.
        world.controller().cancelSetup();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"Cancelled."_s);
    }

    void errorOfTheProgramEndsTheSetup_data() {
        QTest::addColumn<QStringList>("tools");
        QTest::addColumn<QString>("command");
        QTest::newRow("install") << QStringList(u"brew"_s) << "install";
        QTest::newRow("start") << QStringList({u"docker"_s, u"colima"_s}) << "info";
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
        QCOMPARE(world.controller().state().error, (OpError{u"Orvanel hit an internal error."_s, u"out of luck"_s}));
        QVERIFY(!world.controller().state().setupBusy);
        // Idle again: another setup may begin.
        world.runner = usual;
        world.takeCommands();
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QVERIFY(!world.takeCommands().isEmpty());
    }

    void logIsCapped() {
        RuntimeWorld world({u"brew"_s});
        const QString output = QString(40000, u'x') + u"the end\n"_s;
        world.answer("brew install", 1, output);
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.controller().state().setupLog.size(), 20000);
        QVERIFY(world.controller().state().setupLog.endsWith(u"the end\n"_s));
        QCOMPARE(world.details(), output);
    }

    void theEndOfPollingEndsTheSetup() {
        RuntimeWorld world({u"brew"_s});
        world.hang("brew install");
        world.controller().installAndStartRuntime();
        world.advance(1s);
        world.controller().shutdownPolling();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"Cancelled."_s);
    }
};

ORVANEL_TEST(TestRuntimeSetup)
#include "TestRuntimeSetup.moc"
