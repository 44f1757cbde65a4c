#include "BackupClicks.h"
#include "support/Await.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

/// A container that another program has paused: it works on the data, holds its port, and answers nobody.
class TestPausedContainer : public QObject {
    Q_OBJECT

private Q_SLOTS:
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

    void pausedContainerGoesOn_data() {
        QTest::addColumn<bool>("compose");
        QTest::addColumn<bool>("portHasChanged");
        QTest::newRow("compose") << true << false;
        QTest::newRow("compose, on another port") << true << true;
        QTest::newRow("plain") << false << false;
    }

    void pausedContainerGoesOn() {
        QFETCH(const bool, compose);
        QFETCH(const bool, portHasChanged);
        ControllerFixture world;
        world.docker().compose = compose;
        standin::addContainer(world.docker(), "paused");
        const std::string id = world.docker().container->id;
        // It holds its port itself.
        world.listeningPorts = {3001};
        KumaController& kuma = world.controller();
        if (portHasChanged) {
            kuma.setPort(3005);
        }
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY2(!kuma.state().error, qPrintable(kuma.state().error.value_or(OpError()).message));
        QStringList expected = names({"info", "inspect", "image inspect", "compose version", "unpause"});
        if (compose) {
            expected << u"compose up"_s;
        }
        QCOMPARE(world.takeCommands(), expected << u"inspect"_s);
        QCOMPARE(world.commands().at(4).arguments, names({"unpause", "orvanel"}));
        QCOMPARE(world.docker().container->state, std::string("running"));
        QCOMPARE(world.docker().container->id == id, !portHasChanged);
        QVERIFY(kuma.state().kuma == KumaState::running);
    }

    void pausedContainerThatCannotGoOnIsLeftAlone() {
        for (const bool compose : {true, false}) {
            ControllerFixture world;
            world.docker().compose = compose;
            standin::addContainer(world.docker(), "paused");
            world.answer("unpause", 1, u"Error response from daemon: no"_s);
            KumaController& kuma = world.controller();
            kuma.start();
            QVERIFY(world.operationEnds());
            QCOMPARE(kuma.state().error,
                     (OpError{u"Docker reported an error."_s, u"Error response from daemon: no"_s}));
            QCOMPARE(world.docker().container->state, std::string("paused"));
            QVERIFY(kuma.state().isPaused);
            const QStringList commands = world.takeCommands();
            QVERIFY(!commands.contains(u"rm"_s) && !commands.contains(u"compose up"_s));
        }
    }

    void containerThatGoesOnByItselfMeanwhileIsNoError() {
        ControllerFixture world;
        standin::addContainer(world.docker(), "paused");
        world.delay("image inspect", 2s, 1);
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(1s);
        world.docker().container->state = "running";
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QVERIFY(kuma.state().kuma == KumaState::running);
    }

    void pausedContainerStops_data() {
        QTest::addColumn<bool>("compose");
        QTest::newRow("compose") << true;
        QTest::newRow("plain") << false;
    }

    void pausedContainerStops() {
        QFETCH(const bool, compose);
        ControllerFixture world;
        world.docker().compose = compose;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.docker().container->state = "paused";
        kuma.stop();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QCOMPARE(world.docker().container->state, std::string("exited"));
        world.docker().container->state = "paused";
        kuma.restart();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QCOMPARE(world.docker().container->state, std::string("running"));
    }

    void pausedServerMakesRoom_data() {
        QTest::addColumn<bool>("isCancelled");
        QTest::newRow("restored") << false;
        QTest::newRow("cancelled") << true;
    }

    /// It works on the data, though it does not answer.
    void pausedServerMakesRoom() {
        QFETCH(const bool, isCancelled);
        ControllerFixture world;
        startServer(world);
        world.docker().container->state = "paused";
        world.controller().begin();
        world.settle();
        QVERIFY(world.controller().state().isPaused);
        world.delay("compose stop", 2s, 1);
        restoreFrom(world, u"/home/ann/Backup.zip"_s);
        if (isCancelled) {
            world.controller().cancelOperation();
        }
        QVERIFY(world.operationEnds());
        QCOMPARE(world.backups.jobs.size(), isCancelled ? 0 : 1);
        QCOMPARE(world.docker().container->state, std::string("running"));
        QCOMPARE(world.controller().state().error.has_value(), isCancelled);
    }
};

ORVANEL_TEST(TestPausedContainer)
#include "TestPausedContainer.moc"
