#include "ContainerWorld.h"
#include "support/Await.h"
#include "support/TestClass.h"
#include "task/TaskScope.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

void answerWithFailure(ContainerWorld& world, const char* command) {
    world.docker.state().overrides.push_back({.command = command, .exitCode = 1, .out = "no"});
}

} // namespace

class TestContainer : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theToolInUseIsSearchedForOnce() {
        ContainerWorld world;
        QVERIFY(!knownContainer(world.context));
        QCOMPARE(findContainer(world.context)->docker(), u"/opt/bin/docker"_s);
        world.installedDocker = u"/usr/local/bin/docker"_s;
        QCOMPARE(findContainer(world.context)->docker(), u"/opt/bin/docker"_s);
        QCOMPARE(knownContainer(world.context)->docker(), u"/opt/bin/docker"_s);
    }

    void aToolWhereLinuxPutsItIsUsedWhereThereIsNoOther() {
        ContainerWorld world;
        world.dockerElsewhere = u"/usr/bin/docker"_s;
        QCOMPARE(world.host.docker({}), u"/opt/bin/docker"_s);
        world.installedDocker = std::nullopt;
        QCOMPARE(findContainer(world.context)->docker(), u"/usr/bin/docker"_s);
    }

    void noToolIsNoContainer() {
        ContainerWorld world;
        world.installedDocker = std::nullopt;
        QVERIFY(!findContainer(world.context));
    }

    void stop_data() {
        QTest::addColumn<bool>("compose");
        QTest::addColumn<bool>("exists");
        QTest::addColumn<bool>("composeStopFails");
        QTest::addColumn<QStringList>("commands");
        QTest::addColumn<bool>("succeeds");
        QTest::newRow("compose") << true << true << false
                                 << QStringList{u"compose version"_s, u"inspect"_s, u"compose stop"_s, u"inspect"_s}
                                 << true;
        QTest::newRow("compose fails") << true << true << true
                                       << QStringList{u"compose version"_s, u"inspect"_s, u"compose stop"_s, u"stop"_s}
                                       << true;
        QTest::newRow("plain") << false << true << false << QStringList{u"compose version"_s, u"stop"_s} << true;
        QTest::newRow("no container") << true << false << false
                                      << QStringList{u"compose version"_s, u"inspect"_s, u"stop"_s} << false;
        QTest::newRow("no container, plain")
            << false << false << false << QStringList{u"compose version"_s, u"stop"_s} << false;
    }

    void stop() {
        QFETCH(const bool, compose);
        QFETCH(const bool, exists);
        QFETCH(const bool, composeStopFails);
        QFETCH(const bool, succeeds);
        ContainerWorld world;
        world.docker.state().compose = compose;
        QVERIFY(!world.files.prepare(u"2"_s, 3001));
        if (exists) {
            standin::addContainer(world.docker.state(), "running");
        }
        if (composeStopFails) {
            answerWithFailure(world, "compose stop");
        }
        const CommandResult result = await(world.container().stop());
        QTEST(world.takeCommands(), "commands");
        QCOMPARE(result.isSuccess(), succeeds);
        QVERIFY(!exists || world.docker.state().container->state == "exited");
    }

    void composeIsAskedForOncePerTool() {
        ContainerWorld world;
        world.state->set(&ControllerState::dockerPath, u"/some/docker"_s);
        QVERIFY(await(world.container().hasCompose()));
        QVERIFY(await(world.container().hasCompose()));
        QCOMPARE(world.takeCommands(), QStringList(u"compose version"_s));
        QCOMPARE((*world.state)->composeAvailable, std::optional(true));
    }

    void composeOfAToolThatIsNoLongerInUseIsNotRemembered() {
        const ContainerWorld world;
        world.state->set(&ControllerState::dockerPath, u"/other/docker"_s);
        QVERIFY(await(world.container().hasCompose()));
        QVERIFY(!(*world.state)->composeAvailable);
    }

    void theContainerIsBroughtUpWithPortAndImageOfTheSettings() {
        ContainerWorld world;
        world.docker.state().compose = false;
        world.state->set(&ControllerState::port, 4010);
        world.state->set(&ControllerState::imageTag, u"2.1.0"_s);
        world.docker.state().images["louislam/uptime-kuma:2.1.0"] = "sha256:1";
        const CommandResult result = await(world.container().bringUp(std::nullopt, Container::WhenRunning::leave));
        QVERIFY2(result.isSuccess(), qPrintable(result.output));
        const QStringList& arguments = world.docker.calls().back().arguments;
        QVERIFY(arguments.contains(u"127.0.0.1:4010:3001"_s));
        QCOMPARE(arguments.last(), u"louislam/uptime-kuma:2.1.0"_s);
        QVERIFY(world.bringUp.mayBeComingUp());
    }

    void aRunningContainerIsReplacedOnlyWhenWanted_data() {
        QTest::addColumn<Container::WhenRunning>("whenRunning");
        QTest::addColumn<QStringList>("commands");
        QTest::newRow("leave") << Container::WhenRunning::leave << QStringList{u"compose version"_s};
        QTest::newRow("replace") << Container::WhenRunning::replace
                                 << QStringList{u"compose version"_s, u"rm"_s, u"run"_s};
    }

    void aRunningContainerIsReplacedOnlyWhenWanted() {
        QFETCH(const Container::WhenRunning, whenRunning);
        ContainerWorld world;
        world.docker.state().compose = false;
        world.docker.state().images["louislam/uptime-kuma:2"] = "sha256:1";
        standin::addContainer(world.docker.state(), "running");
        const CommandResult result = await(world.container().bringUp(u"running"_s, whenRunning));
        QVERIFY2(result.isSuccess(), qPrintable(result.output));
        QTEST(world.takeCommands(), "commands");
    }

    void nothingIsBroughtUpAtTheEndOfTheProgram() {
        ContainerWorld world;
        world.bringUp.forbid();
        const CommandResult result = await(world.container().bringUp(std::nullopt, Container::WhenRunning::leave));
        QVERIFY(result.cancelled);
        QCOMPARE(world.takeCommands(), QStringList(u"compose version"_s));
        QVERIFY(!world.docker.state().container);
    }

    void theEndOfTheProgramWaitsForWhatComesUpButNotForEver() {
        ContainerWorld world;
        await(world.bringUp.end());
        const std::shared_ptr<const void> first = world.bringUp.begin();
        TaskScope tasks;
        tasks.start(world.bringUp.end(), u"end"_s);
        drainEvents();
        QCOMPARE(tasks.running(), 1);
        world.clock.advance(29s);
        drainEvents();
        QCOMPARE(tasks.running(), 1);
        world.clock.advance(1s);
        drainEvents();
        QCOMPARE(tasks.running(), 0);

        std::shared_ptr<const void> second = world.bringUp.begin();
        tasks.start(world.bringUp.end(), u"end"_s);
        second.reset();
        drainEvents();
        QCOMPARE(tasks.running(), 0);
    }
};

ORVANEL_TEST(TestContainer)
#include "TestContainer.moc"
