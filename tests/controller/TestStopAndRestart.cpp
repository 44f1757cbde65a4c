#include "ControllerFixture.h"
#include "support/Await.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto starting = u"Starting Uptime Kuma…"_s;
const auto downloading = u"Downloading the Uptime Kuma image"_s;

/// Records every text that `busy` takes from now on.
QStringList& recordBusy(KumaController& kuma, QStringList& texts) {
    QObject::connect(&kuma, &KumaController::changed, &kuma, [&kuma, &texts] {
        const QString text = kuma.state().busy.value_or(u"-"_s);
        if (texts.isEmpty() || texts.last() != text) {
            texts.append(text);
        }
    });
    return texts;
}

/// Makes the container without compose, and then installs compose.
void startBeforeComposeIsInstalled(ControllerFixture& world) {
    world.docker().compose = false;
    KumaController& kuma = world.controller();
    kuma.start();
    QVERIFY(world.operationEnds());
    world.docker().compose = true;
    kuma.setDockerOverride(QString());
    kuma.recheck();
    QVERIFY(world.everythingEnds());
    world.takeCommands();
}

} // namespace

class TestStopAndRestart : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void busySaysWhatIsUnderWay() {
        ControllerFixture world;
        world.latency = [](const QString&) { return 1s; };
        KumaController& kuma = world.controller();
        QStringList texts;
        recordBusy(kuma, texts);
        kuma.start();
        QVERIFY(!kuma.state().pulling);
        QVERIFY(world.operationEnds());
        kuma.restart();
        QVERIFY(world.operationEnds());
        kuma.stop();
        QVERIFY(world.operationEnds());
        const auto idle = u"-"_s;
        QCOMPARE(texts, (QStringList{starting, downloading, starting, idle, u"Restarting…"_s, starting, idle,
                                     u"Stopping…"_s, idle}));
    }

    void secondRequestIsDropped() {
        ControllerFixture world;
        world.latency = [](const QString&) { return 1s; };
        KumaController& kuma = world.controller();
        kuma.start();
        kuma.start();
        kuma.stop();
        kuma.restart();
        QCOMPARE(kuma.state().busy, starting);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"info", "inspect", "image inspect", "compose version", "compose pull",
                                              "compose up", "inspect"}));
        QVERIFY(kuma.state().kuma == KumaState::running);
    }

    void operationThatEndsLooksAtOnce() {
        ControllerFixture world;
        world.page.answers = false;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().kuma == KumaState::starting);
        QCOMPARE(kuma.statusLine(), u"Uptime Kuma is starting…"_s);
    }

    void wordsOfAnOperationStayUntilItsOutcomeIsSeen() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.delay("stop", 2s);
        kuma.stop();
        world.settle();
        world.delay("inspect", 8s);
        world.advance(2s);
        // The engine is slow to tell that the container has stopped.
        QVERIFY(!kuma.state().busy);
        QCOMPARE(world.underWay(), names({"inspect"}));
        world.advance(7s);
        QVERIFY(kuma.state().kuma == KumaState::running);
        QCOMPARE(kuma.statusLine(), u"Stopping…"_s);
        QCOMPARE(operationShown(kuma.state()), u"Stopping…"_s);
        // Both in one step.
        QStringList lines;
        QObject::connect(&kuma, &KumaController::changed, &kuma, [&] { lines << kuma.statusLine(); });
        world.advance(1s);
        QVERIFY(kuma.state().kuma == KumaState::stopped);
        QCOMPARE(lines.last(), u"Uptime Kuma is stopped"_s);
        QVERIFY(!lines.contains(u"Uptime Kuma is running"_s));
        QVERIFY(!operationShown(kuma.state()));
    }

    void wordsOfAnOperationStayForTenSecondsAtMost() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        kuma.shutdownPolling();
        kuma.begin();
        world.settle();
        world.page.holdsQuestions = true;
        kuma.start();
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.statusLine(), starting);
        world.advance(9999ms);
        QCOMPARE(kuma.statusLine(), starting);
        world.advance(1ms);
        QCOMPARE(kuma.statusLine(), u"Uptime Kuma is running"_s);
    }

    void nextOperationShowsItsOwnWords() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.page.holdsQuestions = true;
        kuma.start();
        QVERIFY(world.operationEnds());
        world.advance(9s);
        QCOMPARE(kuma.statusLine(), starting);
        world.delay("info", 5s);
        // The look before the stop.
        world.page.holdsQuestions = false;
        kuma.restart();
        world.settle();
        world.page.holdsQuestions = true;
        QVERIFY(!kuma.state().settling);
        QCOMPARE(kuma.statusLine(), u"Restarting…"_s);
        world.advance(5s);
        // The ten seconds are those of the operation that ended last.
        QVERIFY(!kuma.state().busy);
        world.advance(9s);
        QCOMPARE(kuma.statusLine(), starting);
        world.advance(1s);
        QCOMPARE(kuma.statusLine(), u"Uptime Kuma is running"_s);
    }

    void cancelledOperationLooksAtWhatItHasDone() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.delay("info", 2s);
        kuma.restart();
        world.advance(1s);
        QCOMPARE(world.underWay(), names({"info"}));
        kuma.cancelOperation();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().kuma == KumaState::stopped);
        QVERIFY(!operationShown(kuma.state()));
    }

    void stopWhoseComposeFails() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.takeCommands();
        const qsizetype before = world.commands().size();
        kuma.stop();
        QCOMPARE(kuma.state().busy, u"Stopping…"_s);
        QVERIFY(world.operationEnds());
        // The compose file is missing, so compose fails, and the plain stop does the work.
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect", "compose stop", "stop", "inspect"}));
        const Command& stop = world.commands().at(before + 2);
        QCOMPARE(stop.arguments,
                 names({"compose", "-p", "orvanel", "-f"}) + QStringList(kuma.composeURL()) + names({"stop"}));
        QCOMPARE(stop.limit.count(), 60.0);
        const Command& plainStop = world.commands().at(before + 3);
        QCOMPARE(plainStop.arguments, names({"stop", "orvanel"}));
        QCOMPARE(plainStop.limit.count(), 60.0);
        QVERIFY(!kuma.state().error);
        QVERIFY(kuma.state().kuma == KumaState::stopped);
    }

    void stopOfAStartedServer_data() {
        QTest::addColumn<bool>("compose");
        QTest::addColumn<QStringList>("commands");
        QTest::newRow("compose") << true << names({"inspect", "inspect", "compose stop", "inspect", "inspect"});
        QTest::newRow("plain") << false << names({"inspect", "stop", "inspect"});
    }

    void stopOfAStartedServer() {
        QFETCH(const bool, compose);
        ControllerFixture world;
        world.docker().compose = compose;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.takeCommands();
        kuma.stop();
        QVERIFY(world.operationEnds());
        QTEST(world.takeCommands(), "commands");
        QVERIFY(!kuma.state().error);
        QVERIFY(kuma.state().kuma == KumaState::stopped);
        QVERIFY(kuma.state().dockerState == DockerState::ready);
        QCOMPARE(world.docker().container->state, std::string("exited"));
    }

    void stopWithNothingToStop() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.stop(); // the tool is not known yet
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"inspect", "compose version"})); // only the look afterwards
        kuma.stop();                                                           // no container
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect"}));
        QVERIFY(!kuma.state().error);
    }

    void stopOfAContainerThatComposeLeavesAlone() {
        ControllerFixture world;
        startBeforeComposeIsInstalled(world);
        KumaController& kuma = world.controller();
        kuma.stop();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect", "compose stop", "inspect", "stop", "inspect"}));
        QVERIFY(!kuma.state().error);
        QCOMPARE(world.docker().container->state, std::string("exited"));

        world.docker().container->state = "running";
        world.answer("stop", 1, u"no"_s);
        kuma.stop();
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error, (OpError{u"Docker reported an error."_s, u"no"_s}));
    }

    void containerOfPlainDockerMakesRoomForThatOfCompose() {
        ControllerFixture world;
        startBeforeComposeIsInstalled(world);
        KumaController& kuma = world.controller();
        kuma.restart();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        const QStringList commands = world.takeCommands();
        const QStringList end = names({"compose up", "inspect mounts", "rm", "compose up", "inspect"});
        QCOMPARE(commands.last(end.size()), end);
        QCOMPARE(world.docker().container->state, std::string("running"));
        QVERIFY(world.docker().container->owner != standin::Owner::plain);

        kuma.restart();
        QVERIFY(world.operationEnds());
        QVERIFY(!world.takeCommands().contains(u"rm"_s));
    }

    void containerOfSomebodyElseKeepsItsName() {
        ControllerFixture world;
        standin::addContainer(world.docker(), "exited");
        world.docker().container->owner = standin::Owner::foreign;
        world.docker().container->data = "/home/somebody/else";
        const standin::Container before = *world.docker().container;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error->message, u"Docker reported an error."_s);
        QVERIFY(kuma.state().error->details.contains(u"is already in use"_s));
        QVERIFY(world.docker().container == before);
    }

    void stopOfWhichNothingIsKnownIsMadeSure() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.takeCommands();
        bool isStopped = false;
        world.runner = [&world, &isStopped, usual = world.runner](
                           QString path, QStringList arguments, std::chrono::duration<double> limit,
                           std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput) {
            // The daemon goes away right after the stop.
            if (arguments.last() == u"stop"_s) {
                isStopped = true;
            } else if (isStopped) {
                world.docker().daemon = standin::Daemon::down;
            }
            return usual(path, arguments, limit, handle, onOutput);
        };
        kuma.stop();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect", "compose stop", "inspect", "stop", "inspect"}));
        QVERIFY(kuma.state().error.has_value());
    }

    void stopThatFailsIsTold() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.answer("compose stop", 1, u"compose cannot"_s);
        world.answer("stop", 1, u"docker cannot"_s);
        kuma.stop();
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error, (OpError{u"Docker reported an error."_s, u"docker cannot"_s}));
        QVERIFY(!kuma.state().suggestedPort);
    }

    void stopOfADockerThatHangsEndsAtItsLimits() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.hang("compose stop");
        world.hang("stop");
        kuma.stop();
        world.advance(119s);
        QVERIFY(kuma.state().busy.has_value());
        world.advance(1s);
        QVERIFY(!kuma.state().busy);
        QCOMPARE(kuma.state().error->message, u"Docker did not answer in time."_s);
        QVERIFY(kuma.state().kuma == KumaState::running);
    }

    void restartStopsAndStarts() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.takeCommands();
        kuma.restart();
        QCOMPARE(kuma.state().busy, u"Restarting…"_s);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect", "compose stop", "inspect", "info", "inspect",
                                              "image inspect", "compose up", "inspect"}));
        QVERIFY(!kuma.state().error);
        QVERIFY(kuma.state().kuma == KumaState::running);
    }

    void restartWhoseStopFailsDoesNotStart() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.takeCommands();
        world.answer("compose stop", 1, u"no"_s);
        world.answer("stop", 1, QString());
        kuma.restart();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect", "compose stop", "stop", "inspect"}));
        QCOMPARE(kuma.state().error, (OpError{u"Docker reported an error."_s, u"(no output)"_s}));
    }

    void restartWithNothingRunningStarts() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.restart();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QVERIFY(kuma.state().kuma == KumaState::running);
    }

    void cancelDuringTheStopOfARestartDoesNotStart() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.delay("compose stop", 5s, 1);
        kuma.restart();
        world.advance(1s);
        kuma.cancelOperation();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.docker().container->state, std::string("exited"));
        QVERIFY(!kuma.state().error);
    }
};

ORVANEL_TEST(TestStopAndRestart)
#include "TestStopAndRestart.moc"
