#include "OperationsWorld.h"
#include "controller/Poller.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

struct World : OperationsWorld {
    /// One probe, as the loop makes it every three seconds.
    void probe() {
        const std::stop_token never;
        tasks.start(poller.refresh(never), u"probe"_s);
        settle();
    }

    RecordingNotifier notifier;
    StatusWatch watch{*state, clock, notifier, [this](int port, QString slug) { return page.fetch(port, slug); }};
    SetupFrame frame{context, clock, refresh, tasks};
    DockerService service{frame, nullptr};
    Poller poller{context, *operations, conversions, service, watch, clock, tasks};
};

} // namespace

class TestPoller : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyThreeSecondsUntilTheEnd() {
        World world;
        standin::addContainer(world.docker.state(), "running");
        world.poller.begin();
        world.poller.begin();
        world.settle();
        QCOMPARE(world.takeCommands(), (QStringList{u"inspect"_s, u"compose version"_s}));
        world.clock.advance(2'999ms);
        QCOMPARE(world.takeCommands(), QStringList());
        world.clock.advance(1ms);
        world.settle();
        QCOMPARE(world.takeCommands(), QStringList(u"inspect"_s));
        world.poller.end();
        world.clock.advance(1min);
        world.settle();
        QCOMPARE(world.takeCommands(), QStringList());
        QCOMPARE(world.tasks.running(), 0);
    }

    void whatTheContainerSaysIsPublished_data() {
        QTest::addColumn<QString>("word");
        QTest::addColumn<bool>("pageAnswers");
        QTest::addColumn<KumaState>("kuma");
        QTest::newRow("up") << u"running"_s << true << KumaState::running;
        QTest::newRow("not yet") << u"running"_s << false << KumaState::starting;
        QTest::newRow("stopped") << u"exited"_s << true << KumaState::stopped;
        QTest::newRow("loop") << u"restarting"_s << true << KumaState::error;
    }

    void whatTheContainerSaysIsPublished() {
        QFETCH(const QString, word);
        QFETCH(const bool, pageAnswers);
        World world;
        standin::addContainer(world.docker.state(), word.toStdString());
        world.page.answers = pageAnswers;
        world.probe();
        QTEST((*world.state)->kuma, "kuma");
        QVERIFY((*world.state)->dockerState == DockerState::ready);
        QCOMPARE(world.page.questions.size(), word == u"running" ? 1 : 0);
    }

    void aDaemonThatIsSilentIsNotReady() {
        World world;
        world.runServer();
        world.docker.state().daemon = standin::Daemon::down;
        world.probe();
        QVERIFY((*world.state)->dockerState == DockerState::notRunning);
        QVERIFY((*world.state)->runtimeDetails.contains(u"Cannot connect to the Docker daemon"_s));
        QVERIFY((*world.state)->kuma == KumaState::stopped);
    }

    void withoutToolsNothingIsCalled() {
        World world;
        world.installedDocker = std::nullopt;
        world.tools = {u"brew"_s};
        world.probe();
        QVERIFY((*world.state)->dockerState == DockerState::missing);
        QCOMPARE((*world.state)->brewPath, std::optional(u"/opt/bin/brew"_s));
        QVERIFY(!(*world.state)->colimaPath);
        QCOMPARE(world.takeCommands(), QStringList());
    }

    void nothingIsProbedDuringAnOperation() {
        World world;
        world.state->set(&ControllerState::busy, u"Stopping…"_s);
        world.probe();
        QCOMPARE(world.takeCommands(), QStringList());
    }

    void anAnswerFromBeforeAnOperationIsDropped() {
        World world;
        standin::addContainer(world.docker.state(), "running");
        world.page.holdsQuestions = true;
        world.probe();
        QCOMPARE(world.page.questions.size(), 1);
        const Event<Outcome> end;
        world.operations->run(u"Stopping…"_s, [&end](std::stop_token) -> QCoro::Task<Outcome> { return waitFor(end); });
        end.complete(std::nullopt);
        world.settle();
        QVERIFY(!(*world.state)->busy);
        world.page.letGo();
        world.settle();
        QVERIFY((*world.state)->kuma == KumaState::stopped);
        world.probe();
        QVERIFY((*world.state)->kuma == KumaState::running);
    }

    void recheckForgetsTheTool() {
        World world;
        world.runServer();
        world.installedDocker = u"/usr/local/bin/docker"_s;
        world.poller.recheck();
        QVERIFY((*world.state)->dockerState == DockerState::unknown);
        QVERIFY(!(*world.state)->dockerPath);
        world.settle();
        QCOMPARE((*world.state)->dockerPath, std::optional(u"/usr/local/bin/docker"_s));
        QVERIFY((*world.state)->dockerState == DockerState::ready);
    }
};

ORVANEL_TEST(TestPoller)
#include "TestPoller.moc"
