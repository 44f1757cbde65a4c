#include "ControllerFixture.h"
#include "support/Await.h"

using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto brewStep = QStringLiteral("Installing Colima and Docker with Homebrew");
const auto colimaStep = QStringLiteral("Starting Colima (the first start downloads a small Linux VM)");

/// A world with these tools in it; `docker` is found where it always is.
class World : public ControllerFixture {
public:
    explicit World(const QStringList& tools) {
        installedDocker = std::nullopt;
        for (const QString& tool : tools) {
            install(tool);
        }
    }

    void install(const QString& tool) {
        const QString path = QStringLiteral("/opt/bin/") + tool;
        if (tool == QStringLiteral("docker")) {
            installedDocker = path;
        } else {
            installedTools.insert(tool, path);
        }
    }

    bool setupEnds() {
        for (int turns = 0; turns < 200 && !controller().isIdle(); ++turns) {
            advance(1s);
        }
        return controller().isIdle();
    }

    QString message() { return controller().error() ? controller().error()->message : QString(); }
    QString details() { return controller().error() ? controller().error()->details : QString(); }
};

} // namespace

class TestRuntimeSetup : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runtimeThatAnswersIsOnlyLookedAt() {
        World world({QStringLiteral("docker"), QStringLiteral("colima")});
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.takeCommands(),
                 QStringList({QStringLiteral("info"), QStringLiteral("inspect"), QStringLiteral("compose version")}));
        QVERIFY(world.controller().dockerState() == DockerState::ready);
        QCOMPARE(world.controller().dockerPath(), world.installedDocker);
        QVERIFY(world.controller().setupLog().isEmpty());
        QVERIFY(!world.controller().setupBusy() && !world.controller().error());
    }

    void installsThenStartsThenWaits() {
        World world({QStringLiteral("brew")});
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
        World world({QStringLiteral("brew")});
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
        World world({QStringLiteral("brew"), QStringLiteral("colima")});
        world.answer("brew install", 0, QStringLiteral("nothing new\n"));
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.takeCommands(), QStringList(QStringLiteral("brew install")));
        QCOMPARE(world.message(), QStringLiteral("The docker command line tool was not found after the install."));
        QCOMPARE(world.details(), world.controller().setupLog());
        QVERIFY(world.details().contains(QStringLiteral("nothing new")));
    }

    void withoutHomebrew() {
        World world({});
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QVERIFY(world.commands().isEmpty());
        QCOMPARE(world.message(),
                 QStringLiteral("Homebrew is not installed, so the app cannot install Colima for you."));
        QVERIFY(world.details().isEmpty());
    }

    void failedInstall() {
        World world({QStringLiteral("brew")});
        world.answer("brew install", 1, QStringLiteral("no bottle\n"));
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), QStringLiteral("Homebrew could not install Colima and Docker."));
        QCOMPARE(world.details(), QStringLiteral("no bottle\n"));
        QVERIFY(world.controller().setupLog().contains(QStringLiteral("no bottle")));
        QVERIFY(!world.controller().setupBusy());
    }

    void installThatTakesTooLong() {
        World world({QStringLiteral("brew")});
        world.hang("brew install");
        world.controller().installAndStartRuntime();
        world.advance(1799s);
        QCOMPARE(world.controller().setupBusy(), brewStep);
        world.advance(1s);
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), QStringLiteral("Homebrew could not install Colima and Docker."));
    }

    void cancelDuringTheInstall() {
        World world({QStringLiteral("brew")});
        world.hang("brew install");
        world.controller().installAndStartRuntime();
        world.advance(5s);
        world.controller().cancelSetup();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), QStringLiteral("Cancelled."));
        QCOMPARE(world.details(), world.commands().first().result->output);
        QVERIFY(!world.controller().setupBusy());
        // Idle again: another setup may begin.
        world.answerAsUsual();
        world.controller().installAndStartRuntime();
        QCOMPARE(world.controller().setupBusy(), brewStep);
        QVERIFY(!world.controller().error());
        QVERIFY(world.setupEnds());
    }

    void cancelThatComesAsTheInstallEnds() {
        World world({QStringLiteral("brew")});
        world.answer("brew install", 0, QStringLiteral("poured\n"), -1, 5s);
        world.controller().installAndStartRuntime();
        world.advance(1s);
        // The tool takes no notice of the signal and ends well all the same.
        world.docker().overrides.back().ignoresTerm = true;
        world.controller().cancelSetup();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), QStringLiteral("Cancelled."));
    }

    void startWithoutDockerDoesNothing() {
        World world({QStringLiteral("colima")});
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
        World world({QStringLiteral("docker")});
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
        World world({QStringLiteral("docker"), QStringLiteral("colima")});
        world.docker().daemon = standin::Daemon::down;
        if (hangs) {
            world.hang("colima start");
        } else {
            world.answer("colima start", 1, QStringLiteral("no virtual machines here\n"));
        }
        world.controller().installAndStartRuntime();
        world.advance(901s);
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), QStringLiteral("Colima could not start."));
        QVERIFY(hangs || world.details() == QStringLiteral("no virtual machines here\n"));
        QVERIFY(world.controller().dockerState() != DockerState::ready);
    }

    void daemonThatNeverAnswers() {
        World world({QStringLiteral("docker"), QStringLiteral("colima")});
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
        World world({QStringLiteral("docker"), QStringLiteral("colima")});
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

    void secondRequestIsIgnored() {
        World world({QStringLiteral("brew")});
        world.hang("brew install");
        world.controller().installAndStartRuntime();
        world.advance(1s);
        world.controller().installAndStartRuntime();
        world.controller().startRuntime();
        world.advance(1s);
        QCOMPARE(world.commands().size(), 1);
        QVERIFY(world.controller().setupLog().startsWith(QStringLiteral("$ brew install colima docker\n")));
        world.controller().cancelSetup();
        QVERIFY(world.setupEnds());
    }

    void logIsCapped() {
        World world({QStringLiteral("brew")});
        const QString output = QString(40000, QLatin1Char('x')) + QStringLiteral("the end\n");
        world.answer("brew install", 1, output);
        world.controller().installAndStartRuntime();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.controller().setupLog().size(), 20000);
        QVERIFY(world.controller().setupLog().endsWith(QStringLiteral("the end\n")));
        QCOMPARE(world.details(), output);
    }

    void runsBesideAContainerOperation() {
        World world({QStringLiteral("docker"), QStringLiteral("colima"), QStringLiteral("brew")});
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

    void theEndOfPollingEndsTheSetup() {
        World world({QStringLiteral("brew")});
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
