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

/// What the answers of the docker tool and of the page mean.
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
};

ORVANEL_TEST(TestProbes)
#include "TestProbes.moc"
