#include "ControllerFixture.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QFile>

#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto starting = u"Starting Uptime Kuma…"_s;

struct ExpectedCommand {
    QStringList arguments;
    int seconds = 0;
};

} // namespace

class TestStart : public QObject {
    Q_OBJECT

    /// Compares the command lines, time limits and order of everything run so far, all with the docker tool that was
    /// found.
    static void compareCommands(const ControllerFixture& world, const QList<ExpectedCommand>& expected) {
        QStringList lines;
        for (const Command& command : world.commands()) {
            lines.append(u"%1 s: %2 %3"_s.arg(command.limit.count()).arg(command.path, command.arguments.join(u"|"_s)));
        }
        QStringList expectedLines;
        for (const ExpectedCommand& command : expected) {
            expectedLines.append(
                u"%1 s: /opt/bin/docker %2"_s.arg(command.seconds).arg(command.arguments.join(u"|"_s)));
        }
        QCOMPARE(lines.join(u'\n'), expectedLines.join(u'\n'));
        for (const Command& command : world.commands()) {
            const bool isPull = command.name().endsWith(u"pull"_s);
            QCOMPARE(bool(command.handle), isPull);
            QCOMPARE(command.isWatched, isPull);
        }
    }

    static const ExpectedCommand& info() {
        static const ExpectedCommand command{names({"info"}), 15};
        return command;
    }
    static const ExpectedCommand& inspect() {
        static const ExpectedCommand command{names({"inspect", "-f", "{{.State.Status}}", "orvanel"}), 10};
        return command;
    }
    static const ExpectedCommand& imageInspect() {
        static const ExpectedCommand command{names({"image", "inspect", "louislam/uptime-kuma:2"}), 15};
        return command;
    }
    static const ExpectedCommand& composeVersion() {
        static const ExpectedCommand command{names({"compose", "version"}), 10};
        return command;
    }
    static ExpectedCommand compose(const KumaController& kuma, const QStringList& rest, int seconds) {
        return {names({"compose", "-p", "orvanel", "-f"}) + QStringList(kuma.composeURL()) + rest, seconds};
    }

private Q_SLOTS:
    void anErrorOfOurOwnEndsTheOperationToo() {
        ControllerFixture world;
        const RunCommand usual = world.runner;
        world.runner = [usual](QString path, QStringList arguments, std::chrono::duration<double> limit,
                               std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput) {
            if (arguments.contains(u"info"_s)) {
                throw std::runtime_error("out of luck");
            }
            return usual(path, arguments, limit, handle, onOutput);
        };
        world.controller().start();
        world.settle();
        QVERIFY(!world.controller().state().busy);
        QVERIFY(world.controller().state().error);
        QCOMPARE(world.controller().state().error->message, u"Orvanel hit an internal error."_s);
        QCOMPARE(world.controller().state().error->details, u"out of luck"_s);
        QVERIFY(world.controller().state().dockerState == DockerState::ready);
    }

    void startWithCompose() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        compareCommands(world,
                        {info(), inspect(), imageInspect(), composeVersion(), compose(kuma, names({"pull"}), 3600),
                         compose(kuma, names({"up", "-d"}), 180), inspect()});
        QVERIFY(!kuma.state().error);
        QVERIFY(kuma.state().kuma == KumaState::running);
        QVERIFY(kuma.state().dockerState == DockerState::ready);
        QCOMPARE(world.docker().container->data, kuma.dataDir().toStdString());
        QCOMPARE(world.docker().container->restartPolicy, std::string("unless-stopped"));
    }

    void startWithoutCompose() {
        ControllerFixture world;
        world.docker().compose = false;
        KumaController& kuma = world.controller();
        kuma.setPort(4001);
        kuma.start();
        QVERIFY(world.operationEnds());
        const QStringList run = names({"run", "-d", "--name", "orvanel", "--restart", "unless-stopped", "-p",
                                       "127.0.0.1:4001:3001", "-v"}) +
                                QStringList{kuma.dataDir() + u":/app/data"_s, kuma.imageReference()};
        QCOMPARE(run.size(), 11);
        compareCommands(world, {info(),
                                inspect(),
                                imageInspect(),
                                composeVersion(),
                                {names({"pull", "louislam/uptime-kuma:2"}), 3600},
                                {run, 180},
                                inspect()});
        QVERIFY(!kuma.state().error);
        QCOMPARE(world.docker().container->port, 4001);
        QCOMPARE(world.docker().container->data, kuma.dataDir().toStdString());
    }

    void startWithTheImagePresentDownloadsNothing() {
        ControllerFixture world;
        standin::addImage(world.docker());
        KumaController& kuma = world.controller();
        kuma.start();
        QCOMPARE(kuma.state().busy, starting);
        QVERIFY(world.operationEnds());
        compareCommands(world, {info(), inspect(), imageInspect(), composeVersion(),
                                compose(kuma, names({"up", "-d"}), 180), inspect()});
        QVERIFY(kuma.state().pullLog.isEmpty());
    }

    void startWhileRunningChecksNoPortAndIsHarmless() {
        ControllerFixture world;
        standin::addContainer(world.docker(), "running");
        world.listeningPorts = {3001}; // by our own container
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(),
                 names({"info", "inspect", "image inspect", "compose version", "compose up", "inspect"}));
        QVERIFY(!kuma.state().error && !kuma.state().suggestedPort);
    }

    void startWhileRunningWithoutComposeRunsNothing() {
        ControllerFixture world;
        standin::addContainer(world.docker(), "running");
        world.docker().compose = false;
        const standin::Container before = *world.docker().container;
        world.listeningPorts = {3001};
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"info", "inspect", "image inspect", "compose version", "inspect"}));
        QVERIFY(!kuma.state().error);
        QVERIFY(*world.docker().container == before);
    }

    void startWithoutComposeReplacesAContainerThatDoesNotRun_data() {
        QTest::addColumn<QByteArray>("word");
        QTest::addColumn<bool>("removalFails");
        QTest::newRow("exited") << QByteArray("exited") << false;
        QTest::newRow("created") << QByteArray("created") << false;
        QTest::newRow("restarting") << QByteArray("restarting") << false;
        QTest::newRow("a removal that fails is not looked at") << QByteArray("exited") << true;
    }

    void startWithoutComposeReplacesAContainerThatDoesNotRun() {
        QFETCH(const QByteArray, word);
        QFETCH(const bool, removalFails);
        ControllerFixture world;
        standin::addContainer(world.docker(), word.toStdString());
        world.docker().compose = false;
        if (removalFails) {
            world.answer("rm", 1, u"no"_s);
        }
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(),
                 names({"info", "inspect", "image inspect", "compose version", "rm", "run", "inspect"}));
        QCOMPARE(world.commands().at(4).arguments, names({"rm", "-f", "orvanel"}));
        QCOMPARE(world.commands().at(4).limit.count(), 60.0);
        // If the old container is still there, its name is taken, and the error shown is the one of "run".
        QCOMPARE(kuma.state().error.has_value(), removalFails);
        if (removalFails) {
            QCOMPARE(kuma.state().error->message, u"Docker reported an error."_s);
            QVERIFY(kuma.state().error->details.contains(u"is already in use by container"_s));
        }
    }

    void startWithoutDockerOnlySaysSo() {
        ControllerFixture world;
        world.installedDocker = std::nullopt;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().dockerState == DockerState::missing);
        QVERIFY(!kuma.state().error && !kuma.state().dockerPath);
        QVERIFY(world.commands().isEmpty());
        QVERIFY(!QFile::exists(kuma.composeURL()));
    }

    void startWithoutARuntimeOnlySaysSo_data() {
        QTest::addColumn<int>("daemon");
        QTest::newRow("down") << int(standin::Daemon::down);
        QTest::newRow("denied") << int(standin::Daemon::denied);
        QTest::newRow("hangs") << int(standin::Daemon::hangs);
    }

    void startWithoutARuntimeOnlySaysSo() {
        QFETCH(const int, daemon);
        ControllerFixture world;
        world.docker().daemon = static_cast<standin::Daemon>(daemon);
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().dockerState == DockerState::notRunning);
        QVERIFY(!kuma.state().error);
        QVERIFY(!QFile::exists(kuma.composeURL()));
        QCOMPARE(world.takeCommands(), names({"info", "inspect"})); // and the look afterwards
    }

    void hangingRuntimeCostsTheTimeLimitAndNothingElse() {
        ControllerFixture world;
        world.hang("info", 1);
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(14999ms);
        QCOMPARE(kuma.state().busy, starting);
        QCOMPARE(world.underWay(), names({"info"}));
        world.advance(1ms);
        QVERIFY(!kuma.state().busy);
        QVERIFY(world.commands().first().result->timedOut);
    }

    void takenPortIsToldBeforeAnythingIsDownloaded() {
        ControllerFixture world;
        world.listeningPorts = {3001};
        KumaController& kuma = world.controller();
        kuma.start();
        world.settle();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"info", "inspect", "inspect", "compose version"}));
        QVERIFY(!world.docker().container);
        QCOMPARE(kuma.state().error, (OpError{u"Port 3001 is already in use by another program."_s,
                                              u"Port 3001 on 127.0.0.1 could not be bound."_s}));
        QCOMPARE(kuma.state().suggestedPort, std::optional(3002));

        // The next error has nothing to do with a port.
        world.loginItem.failure = u"No room."_s;
        kuma.setLaunchAtLogin(true);
        QCOMPARE(kuma.state().error->details, u"No room."_s);
        QVERIFY(!kuma.state().suggestedPort);
    }

    void takenPortIsLookedAtWhateverElseTheContainerDoes_data() {
        QTest::addColumn<QByteArray>("word");
        for (const char* word : {"exited", "created", "restarting", "removing", "dead"}) {
            QTest::newRow(word) << QByteArray(word);
        }
    }

    void takenPortIsLookedAtWhateverElseTheContainerDoes() {
        QFETCH(const QByteArray, word);
        ControllerFixture world;
        standin::addContainer(world.docker(), word.toStdString());
        world.listeningPorts = {3001};
        world.controller().start();
        QVERIFY(world.operationEnds());
        // For a container that keeps restarting, that error is shown instead, and no other port is suggested.
        QCOMPARE(world.controller().state().suggestedPort.has_value(), word != "restarting");
        QVERIFY(!world.takeCommands().contains(u"compose up"_s));
    }

    void portThatIsOnlyClosingIsNotTaken() {
        ControllerFixture world;
        world.closingPorts = {3001};
        world.controller().start();
        QVERIFY(world.operationEnds());
        QVERIFY(!world.controller().state().error);
        QVERIFY(world.controller().state().kuma == KumaState::running);
    }

    void portLostOnTheWayIsToldWithASuggestion_data() {
        QTest::addColumn<bool>("compose");
        QTest::addColumn<int>("holder");
        QTest::newRow("process, compose") << true << int(standin::PortHolder::process);
        QTest::newRow("container, compose") << true << int(standin::PortHolder::container);
        QTest::newRow("process, plain") << false << int(standin::PortHolder::process);
        QTest::newRow("container, plain") << false << int(standin::PortHolder::container);
    }

    void portLostOnTheWayIsToldWithASuggestion() {
        QFETCH(const bool, compose);
        QFETCH(const int, holder);
        ControllerFixture world;
        world.docker().compose = compose;
        world.docker().portHolder = static_cast<standin::PortHolder>(holder);
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().error.has_value());
        QCOMPARE(kuma.state().error->message, u"The port is already in use by another program."_s);
        QVERIFY(kuma.state().error->details.contains(u"127.0.0.1:3001"_s));
        QCOMPARE(kuma.state().suggestedPort, std::optional(3002));
    }

    void bringingUpThatHangsIsToldAfterItsLimit() {
        ControllerFixture world;
        standin::addImage(world.docker());
        world.hang("compose up");
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(179999ms);
        QCOMPARE(kuma.state().busy, starting);
        world.advance(1ms);
        QCOMPARE(kuma.state().error->message, u"Docker did not answer in time."_s);
    }

    void nextOperationForgetsErrorAndSuggestion() {
        ControllerFixture world;
        world.listeningPorts = {3001};
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().error && kuma.state().suggestedPort);
        kuma.stop();
        QVERIFY(!kuma.state().error && !kuma.state().suggestedPort);
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error && !kuma.state().suggestedPort);
    }

    void changedSettingsReachTheServerAtTheNextStart() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        kuma.setPort(4002);
        kuma.setImageTag(u"2.6"_s);
        kuma.restart();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QCOMPARE(world.docker().container->port, 4002);
        QCOMPARE(world.docker().container->image, std::string("louislam/uptime-kuma:2.6"));
    }
};

ORVANEL_TEST(TestStart)
#include "TestStart.moc"
