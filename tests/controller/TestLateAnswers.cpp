#include "ControllerFixture.h"
#include "support/Await.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

/// Answers of the docker tool and of the page that come too late, or when an operation or another tool has made them
/// old.
class TestLateAnswers : public QObject {
    Q_OBJECT

private Q_SLOTS:
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

ORVANEL_TEST(TestLateAnswers)
#include "TestLateAnswers.moc"
