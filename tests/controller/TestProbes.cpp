#include "ControllerFixture.h"
#include "support/Await.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const OpError restartLoop{.message = u"Uptime Kuma keeps restarting. Open the logs to see why."_s,
                          .details = u"restarting"_s,
                          .kind = ErrorKind::restartLoop};

/// Causes an error that has nothing to do with polling.
OpError raiseOtherError(ControllerFixture& world) {
    world.loginItem.failure = u"No room."_s;
    world.controller().setLaunchAtLogin(true);
    return world.controller().state().error.value();
}

} // namespace

/// What the answers of the docker tool and of the page mean, and what happens when they come too late.
class TestProbes : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void runtimeCountsAsNotRunningUntilItAnswers() {
        ControllerFixture world;
        world.delay("inspect", 5s);
        KumaController& kuma = world.controller();
        QVERIFY(kuma.state().dockerState == DockerState::unknown);
        kuma.begin();
        world.settle();
        QVERIFY(kuma.state().dockerState == DockerState::notRunning);
        world.advance(5s);
        QVERIFY(kuma.state().dockerState == DockerState::ready);
        // Once the tool is known, the next probe does not search for it.
        world.advance(4s);
        QCOMPARE(world.underWay(), names({"inspect"}));
        QVERIFY(kuma.state().dockerState == DockerState::ready);
    }

    void whatAProbeMeans_data() {
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output");
        QTest::addColumn<bool>("pageAnswers");
        QTest::addColumn<int>("dockerState");
        QTest::addColumn<int>("kuma");
        QTest::addColumn<bool>("asksThePage");
        const int ready = int(DockerState::ready);
        const int notRunning = int(DockerState::notRunning);
        const int stopped = int(KumaState::stopped);
        const int running = int(KumaState::running);
        const int starting = int(KumaState::starting);
        const int error = int(KumaState::error);
        QTest::newRow("no such object") << 1 << "\nError: No such object: orvanel\n"
                                        << true << ready << stopped << false;
        QTest::newRow("any case") << 1 << "NO SUCH OBJECT" << true << ready << stopped << false;
        QTest::newRow("no such container") << 1 << "no such container: orvanel" << true << ready << stopped << false;
        QTest::newRow("not found") << 125 << "it was Not Found" << true << ready << stopped << false;
        QTest::newRow("no daemon") << 1 << "Cannot connect to the Docker daemon" << true << notRunning << stopped
                                   << false;
        QTest::newRow("permission denied")
            << 1 << "permission denied while trying" << true << notRunning << stopped << false;
        QTest::newRow("failed silently") << 1 << "" << true << notRunning << stopped << false;
        QTest::newRow("failed, saying running") << 1 << "running" << true << notRunning << stopped << false;
        QTest::newRow("running, page answers") << 0 << "running\n" << true << ready << running << true;
        QTest::newRow("running, page silent") << 0 << "running\n" << false << ready << starting << true;
        QTest::newRow("white space around") << 0 << " \r\n\t running \r\n\r\n" << true << ready << running << true;
        QTest::newRow("a capital letter") << 0 << "Running\n" << true << ready << stopped << false;
        QTest::newRow("more than the word") << 0 << "running now\n" << true << ready << stopped << false;
        QTest::newRow("restarting") << 0 << "restarting\n" << true << ready << error << false;
        QTest::newRow("Restarting") << 0 << "Restarting\n" << true << ready << stopped << false;
        for (const char* word : {"created", "paused", "removing", "exited", "dead", "something new"}) {
            QTest::newRow(word) << 0 << QString::fromLatin1(word) + u'\n' << true << ready << stopped << false;
        }
        QTest::newRow("empty") << 0 << "" << true << ready << stopped << false;
        QTest::newRow("only blanks") << 0 << " \n\n" << true << ready << stopped << false;
        QTest::newRow("a warning before") << 0 << "WARNING: bad config: not found\nrunning\n"
                                          << true << ready << running << true;
        QTest::newRow("warnings with blank lines") << 0 << "WARNING: one\n\nWARNING: two\n\n\nrunning\n\n"
                                                   << true << ready << running << true;
        QTest::newRow("only a warning") << 0 << "WARNING: running\n" << true << ready << stopped << false;
        QTest::newRow("a warning before a loop") << 0 << "WARNING: x\nrestarting\n" << true << ready << error << false;
        QTest::newRow("the word on an earlier line") << 0 << "running\nexited\n" << true << ready << stopped << false;
    }

    void whatAProbeMeans() {
        QFETCH(const int, exitCode);
        QFETCH(const QString, output);
        QFETCH(const bool, pageAnswers);
        QFETCH(const int, kuma);
        QFETCH(const bool, asksThePage);
        // The result must not depend on what was known or shown before.
        for (const char* before : {"", "exited", "running"}) {
            ControllerFixture world;
            KumaController& controller = world.controller();
            controller.setPort(4567);
            if (*before != '\0') {
                standin::addContainer(world.docker(), before);
            }
            controller.begin();
            world.settle();
            const OpError other = raiseOtherError(world);
            world.page.questions.clear();
            world.page.answers = pageAnswers;
            world.answer("inspect", exitCode, output);
            world.advance(3s);
            QTEST(int(controller.state().dockerState), "dockerState");
            QTEST(int(controller.state().kuma), "kuma");
            QCOMPARE(world.page.questions.size(), asksThePage ? 1 : 0);
            QVERIFY(!asksThePage || world.page.questions.first().port == 4567);
            if (kuma == int(KumaState::error)) {
                QCOMPARE(controller.state().error, restartLoop);
            } else {
                QCOMPARE(controller.state().error, other);
            }
        }
    }

    void whatARefusingRuntimeSaysIsKept() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        QCOMPARE(kuma.state().runtimeDetails, QString());
        const auto refusal = u"\npermission denied while trying to connect to the Docker daemon socket"_s;
        world.answer("inspect", 1, refusal);
        world.advance(3s);
        QVERIFY(kuma.state().dockerState == DockerState::notRunning);
        QCOMPARE(kuma.state().runtimeDetails, refusal);
        // A probe without news takes nothing back.
        world.answerAsUsual();
        world.hang("inspect", 1);
        world.advance(13s);
        QCOMPARE(kuma.state().runtimeDetails, refusal);
        world.advance(3s);
        QVERIFY(kuma.state().dockerState == DockerState::ready);
        QCOMPARE(kuma.state().runtimeDetails, QString());
    }

    void whatARefusingRuntimeSaysIsForgottenAtARecheck() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.answer("info", 1, u"Server:\nERROR: no"_s);
        kuma.start();
        world.hang("inspect", 1);
        world.settle();
        QVERIFY(kuma.state().dockerState == DockerState::notRunning);
        QCOMPARE(kuma.state().runtimeDetails, u"Server:\nERROR: no"_s);
        kuma.recheck();
        QCOMPARE(kuma.state().runtimeDetails, QString());
        world.installedDocker.reset();
        QVERIFY(world.everythingEnds());
        QVERIFY(kuma.state().dockerState == DockerState::missing);
        QCOMPARE(kuma.state().runtimeDetails, QString());
    }

    void probeThatComesTooLateChangesNothing_data() {
        QTest::addColumn<bool>("runs");
        QTest::newRow("running before") << true;
        QTest::newRow("nothing known before") << false;
    }

    void probeThatComesTooLateChangesNothing() {
        QFETCH(const bool, runs);
        ControllerFixture world;
        KumaController& kuma = world.controller();
        if (runs) {
            QVERIFY(world.isPolledAsRunning());
        }
        world.docker().daemon = standin::Daemon::hangs;
        kuma.begin();
        world.advance(3s);
        QCOMPARE(world.underWay(), names({"inspect"}));
        const auto begun = world.commands().last().started;
        world.advance(std::chrono::duration_cast<std::chrono::milliseconds>(begun + 9999ms - world.clock.now()));
        QCOMPARE(world.underWay(), names({"inspect"}));
        world.advance(1ms);
        QVERIFY(world.commands().last().result && world.commands().last().result->timedOut);
        QVERIFY(kuma.state().dockerState == (runs ? DockerState::ready : DockerState::notRunning));
        QVERIFY(kuma.state().kuma == (runs ? KumaState::running : KumaState::stopped));
        // The controller goes on asking, and believes the first answer.
        world.docker().daemon = standin::Daemon::down;
        world.advance(20s);
        QVERIFY(kuma.state().dockerState == DockerState::notRunning);
        QVERIFY(kuma.state().kuma == KumaState::stopped);
        world.docker().daemon = standin::Daemon::up;
        world.advance(3s);
        QVERIFY(kuma.state().dockerState == DockerState::ready);
    }

    void outputEndingInSuccessButTooLateIsDropped() {
        ControllerFixture world;
        // When the time limit sends SIGTERM, this tool prints its answer and exits with status 0.
        world.docker().overrides.push_back(
            {.command = "inspect", .exitCode = 0, .out = "running", .delay = 11000, .ignoresTerm = true});
        KumaController& kuma = world.controller();
        kuma.begin();
        world.advance(12s);
        QVERIFY(world.commands().first().result->timedOut);
        QCOMPARE(world.commands().first().result->status, 0);
        QVERIFY(kuma.state().dockerState == DockerState::notRunning);
        QVERIFY(kuma.state().kuma == KumaState::stopped);
    }

    void restartLoopIsToldAndForgottenWhenThePageAnswers() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        const KumaController& kuma = world.controller();
        world.docker().container->state = "restarting";
        world.advance(3s);
        QVERIFY(kuma.state().kuma == KumaState::error);
        QCOMPARE(kuma.state().error, restartLoop);
        QCOMPARE(kuma.statusLine(), u"Uptime Kuma has a problem"_s);
        // The container runs again but its page is silent: each attempt looks like that.
        world.page.answers = false;
        world.docker().container->state = "running";
        world.advance(3s);
        QVERIFY(kuma.state().kuma == KumaState::error);
        QCOMPARE(kuma.state().error, restartLoop);
        world.docker().container->state = "exited";
        world.advance(3s);
        QVERIFY(kuma.state().error.has_value());
        world.docker().container->state = "running";
        world.page.answers = true;
        world.advance(3s);
        QVERIFY(kuma.state().kuma == KumaState::running);
        QVERIFY(!kuma.state().error);
    }

    void restartLoopIsOneSteadyState() {
        ControllerFixture world;
        standin::addContainer(world.docker(), "running");
        world.page.answers = false;
        world.docker().crashLoop = 4;
        KumaController& kuma = world.controller();
        kuma.begin();
        world.advance(9s); // until it is found restarting for the first time
        QVERIFY(kuma.state().kuma == KumaState::error);
        QSet<QString> lines;
        QObject::connect(&kuma, &KumaController::changed, &kuma, [&] { lines.insert(kuma.statusLine()); });
        world.advance(180s);
        QVERIFY(world.docker().looks > 50);
        QCOMPARE(lines, QSet<QString>());
        QCOMPARE(kuma.statusLine(), u"Uptime Kuma has a problem"_s);
        QCOMPARE(kuma.state().error, restartLoop);
    }

    void containerThatRunsOnIsPastItsRestartLoop() {
        ControllerFixture world;
        standin::addContainer(world.docker(), "restarting");
        world.page.answers = false;
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        world.docker().container->state = "running";
        world.advance(57s);
        QVERIFY(kuma.state().kuma == KumaState::error);
        world.advance(3s);
        QVERIFY(kuma.state().kuma == KumaState::starting);
    }

    void operationGivesARestartLoopANewChance() {
        ControllerFixture world;
        standin::addContainer(world.docker(), "restarting");
        world.page.answers = false;
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        kuma.restart();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().kuma == KumaState::starting);
        QVERIFY(!kuma.state().error);
    }

    void pausedContainerIsToldOf() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        const KumaController& kuma = world.controller();
        for (const char* next : {"running", "exited", "restarting"}) {
            world.docker().container->state = "paused";
            world.advance(3s);
            QVERIFY(kuma.state().isPaused && kuma.state().kuma == KumaState::stopped);
            QCOMPARE(kuma.statusLine(), u"Uptime Kuma is paused"_s);
            world.docker().container->state = next;
            world.advance(3s);
            QVERIFY(!kuma.state().isPaused);
        }
        world.docker().container->state = "paused";
        world.advance(3s);
        world.docker().daemon = standin::Daemon::down;
        world.advance(3s);
        QVERIFY(!kuma.state().isPaused);
    }

    void errorThatDockerIsSilentGoesWhenItAnswers_data() {
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("sentence");
        QTest::newRow("no daemon") << u"Cannot connect to the Docker daemon at unix:///var/run/docker.sock."_s
                                   << u"Docker is not running."_s;
        QTest::newRow("daemon that went away")
            << u"error during connect: Post \"http://%2Fvar%2Frun%2Fdocker.sock/v1.41/containers/orvanel/stop\": EOF"_s
            << u"Docker reported an error."_s;
    }

    void errorThatDockerIsSilentGoesWhenItAnswers() {
        QFETCH(const QString, output);
        QFETCH(const QString, sentence);
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        const QString silence = u"Cannot connect to the Docker daemon at unix:///var/run/docker.sock."_s;
        world.answer("compose stop", 1, output);
        world.answer("stop", 1, output);
        kuma.stop();
        QVERIFY(world.operationEnds());
        world.answer("inspect", 1, silence);
        world.advance(3s);
        QCOMPARE(kuma.state().error->message, sentence);
        world.answerAsUsual();
        world.advance(3s);
        QVERIFY(!kuma.state().error);
    }

    void anyOtherErrorStaysUntilItIsDismissed() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        raiseOtherError(world);
        world.advance(3s);
        QVERIFY(world.controller().state().error.has_value());
        world.controller().dismissError();
        QVERIFY(!world.controller().state().error);
        QVERIFY(!world.controller().state().suggestedPort);
    }

    void restartLoopTakesThePlaceOfAnyOtherError() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        raiseOtherError(world);
        world.docker().container->state = "restarting";
        world.advance(3s);
        QCOMPARE(world.controller().state().error, restartLoop);
    }

    void operationDropsAProbeUnderWay() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        world.answer("inspect", 1, u"Cannot connect to the Docker daemon"_s, 1, 5s);
        world.advance(3s);
        QCOMPARE(world.underWay(), names({"inspect"}));
        world.delay("info", 12s);
        kuma.start();
        world.advance(6s);
        QVERIFY(kuma.state().busy.has_value());
        QVERIFY(kuma.state().dockerState == DockerState::ready); // the probe's bad news came too late
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().kuma == KumaState::running);
    }

    void operationThatBeganAndEndedMeanwhileDropsAProbeToo() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        kuma.begin();
        world.settle();
        QVERIFY(kuma.state().kuma == KumaState::running);
        // The question is asked before the stop, and answered long after it.
        world.answer("inspect", 0, u"running"_s, 1, 8s);
        world.advance(3s);
        kuma.stop();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().kuma == KumaState::stopped);
        QCOMPARE(world.docker().container->state, std::string("exited"));
    }

    void operationDropsAnAnswerOfThePage() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        standin::addContainer(world.docker(), "running");
        world.page.holdsQuestions = true;
        kuma.begin();
        world.settle();
        QCOMPARE(world.page.questions.size(), 1);
        // The stop's own question is answered at once.
        world.page.holdsQuestions = false;
        world.delay("inspect", 5s);
        kuma.stop();
        world.settle();
        world.takeCommands();
        world.page.letGo();
        world.settle();
        QVERIFY(kuma.state().kuma == KumaState::stopped);
        QCOMPARE(world.takeCommands(), QStringList()); // and the look ends there
        QVERIFY(!kuma.state().composeAvailable);
    }

    void operationThatBeganAndEndedMeanwhileDropsAnAnswerOfThePageToo() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.page.holdsQuestions = true;
        kuma.begin();
        world.settle();
        world.page.holdsQuestions = false;
        kuma.stop();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().kuma == KumaState::stopped);
        world.page.letGo();
        world.settle();
        QVERIFY(kuma.state().kuma == KumaState::stopped);
    }

    void composeIsProbedOnceAndOnlyWhenARuntimeAnswers() {
        ControllerFixture world;
        world.docker().daemon = standin::Daemon::down;
        KumaController& kuma = world.controller();
        kuma.begin();
        world.advance(9s);
        QVERIFY(!kuma.state().composeAvailable);
        QVERIFY(!world.takeCommands().contains(u"compose version"_s));
        world.docker().daemon = standin::Daemon::up;
        world.advance(30s);
        QCOMPARE(kuma.state().composeAvailable, std::optional(true));
        QCOMPARE(world.takeCommands().count(u"compose version"_s), 1);
    }

    void failedProbeOfComposeIsRemembered_data() {
        QTest::addColumn<bool>("hangs");
        QTest::newRow("missing") << false;
        QTest::newRow("hangs") << true;
    }

    void failedProbeOfComposeIsRemembered() {
        QFETCH(const bool, hangs);
        ControllerFixture world;
        if (hangs) {
            world.hang("compose version");
        } else {
            world.docker().compose = false;
        }
        world.controller().begin();
        world.advance(60s);
        QCOMPARE(world.controller().state().composeAvailable, std::optional(false));
        QCOMPARE(world.takeCommands().count(u"compose version"_s), 1);
    }

    void lateProbeOfComposeCountsThoughAnOperationBegan() {
        ControllerFixture world;
        world.delay("compose version", 5s, 1);
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        world.delay("inspect", 9s);
        kuma.removeEverything();
        world.dialogs.answerAll(true);
        world.advance(5s);
        QVERIFY(kuma.state().busy.has_value());
        QCOMPARE(kuma.state().composeAvailable, std::optional(true));
    }

    void answersOfAToolThatWasReplacedAreDropped() {
        ControllerFixture world;
        world.executables = {u"/mine/docker"_s};
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        world.answer("inspect", 1, u"Cannot connect to the Docker daemon"_s, 1, 5s);
        world.advance(3s);
        kuma.setDockerOverride(u"/mine/docker"_s);
        world.advance(5s);
        QVERIFY(kuma.state().dockerState == DockerState::ready); // not what the old tool says at last
        QVERIFY(!kuma.state().composeAvailable);
        world.advance(3s);
        QCOMPARE(kuma.state().dockerPath, std::optional(u"/mine/docker"_s));
        QCOMPARE(kuma.state().composeAvailable, std::optional(true));
        QCOMPARE(world.commands().last().path, u"/mine/docker"_s);
    }

    void probeOfComposeOfAToolThatWasReplacedIsDropped() {
        ControllerFixture world;
        world.executables = {u"/mine/docker"_s};
        world.answer("compose version", 1, u"unknown command"_s, 1, 5s);
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        QCOMPARE(world.underWay(), names({"compose version"}));
        kuma.setDockerOverride(u"/mine/docker"_s);
        kuma.recheck();
        world.settle();
        QCOMPARE(kuma.state().composeAvailable, std::optional(true));
        world.advance(5s);
        QCOMPARE(kuma.state().composeAvailable, std::optional(true));
    }
};

ORVANEL_TEST(TestProbes)
#include "TestProbes.moc"
