#include "AppFixture.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QApplication>
#include <QEventLoopLocker>
#include <QPointer>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

constexpr KumaState kumaStates[] = {KumaState::stopped, KumaState::starting, KumaState::running, KumaState::error};
constexpr DockerState dockerStates[] = {DockerState::unknown, DockerState::missing, DockerState::notRunning,
                                        DockerState::ready};

/// The stops that docker was asked for.
QStringList stops(const ControllerFixture& world) {
    QStringList names;
    for (const Command& command : world.commands()) {
        if (command.name().endsWith(u"stop"_s)) {
            names << command.name();
        }
    }
    return names;
}

const QStringList oneStop{u"compose stop"_s};

} // namespace

class TestQuitting : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whenTheContainerIsStoppedFirst() {
        for (const KumaState kuma : kumaStates) {
            for (const DockerState docker : dockerStates) {
                ControllerState state;
                state.kuma = kuma;
                state.dockerState = docker;
                QVERIFY(!stopsContainerFirst(state));
                state.stopOnQuit = true;
                const bool expected = kuma != KumaState::stopped && docker == DockerState::ready;
                QCOMPARE(stopsContainerFirst(state), expected);
                // Its server is there all the same.
                state.isPaused = true;
                QCOMPARE(stopsContainerFirst(state), docker == DockerState::ready);
            }
        }
    }

    void leavesTheContainerAloneUnlessAsked() {
        AppFixture world;
        QVERIFY(world.startsWithRunningContainer());
        const auto code = world.runLoop([] { QCoreApplication::quit(); });
        QCOMPARE(code, 0);
        QCOMPARE(stops(world), QStringList());
    }

    void stopsTheContainerWhenAsked_data() {
        QTest::addColumn<QString>("word");
        QTest::addColumn<bool>("pageAnswers");
        QTest::addColumn<KumaState>("state");
        QTest::newRow("running") << u"running"_s << true << KumaState::running;
        QTest::newRow("starting") << u"running"_s << false << KumaState::starting;
        QTest::newRow("error") << u"restarting"_s << true << KumaState::error;
        QTest::newRow("paused") << u"paused"_s << true << KumaState::stopped;
    }
    void stopsTheContainerWhenAsked() {
        QFETCH(const QString, word);
        QFETCH(const bool, pageAnswers);
        QFETCH(const KumaState, state);
        AppFixture world;
        world.page.answers = pageAnswers;
        world.kuma().setStopOnQuit(true);
        world.start(word);
        QCOMPARE(world.kuma().state().kuma, state);
        world.delay("compose stop", 4s);

        bool waited = false;
        const auto code = world.runLoop([&] {
            QCoreApplication::quit();
            world.settle();
            waited = world.underWay() == oneStop;
            world.advance(4s);
        });
        QCOMPARE(code, 0);
        QVERIFY(waited);
        QCOMPARE(stops(world), oneStop);
        QCOMPARE(world.docker().container->state, "exited");
    }

    void nothingToStop_data() {
        QTest::addColumn<bool>("hasDocker");
        QTest::addColumn<bool>("daemonUp");
        QTest::newRow("stopped") << true << true;
        QTest::newRow("Docker not running") << true << false;
        QTest::newRow("Docker missing") << false << true;
    }
    void nothingToStop() {
        QFETCH(const bool, hasDocker);
        QFETCH(const bool, daemonUp);
        AppFixture world;
        if (!hasDocker) {
            world.installedDocker = std::nullopt;
        }
        world.docker().daemon = daemonUp ? standin::Daemon::up : standin::Daemon::down;
        world.kuma().setStopOnQuit(true);
        world.app().start();
        world.settle();
        QCOMPARE(world.runLoop([] { QCoreApplication::quit(); }), 0);
        QCOMPARE(stops(world), QStringList());
    }

    void dockerNotKnownYet() {
        AppFixture world;
        world.kuma().setStopOnQuit(true);
        world.app();
        QCOMPARE(world.runLoop([] { QCoreApplication::quit(); }), 0);
        QCOMPARE(world.commands().size(), 0);
    }

    void withoutAKnownToolTheStopIsSkipped() {
        AppFixture world;
        world.kuma().setStopOnQuit(true);
        QVERIFY(world.startsWithRunningContainer());
        // Forgets where the tool is, and leaves everything else as it was.
        world.kuma().setDockerOverride(u"/somewhere/else"_s);
        QVERIFY(world.kuma().state().dockerState == DockerState::ready && !world.kuma().state().dockerPath);
        QCOMPARE(world.runLoop([] { QCoreApplication::quit(); }), 0);
        QCOMPARE(stops(world), QStringList());
    }

    void laterRequestsChangeNothing() {
        AppFixture world;
        world.kuma().setStopOnQuit(true);
        QVERIFY(world.startsWithRunningContainer());
        world.delay("compose stop", 4s);
        const auto code = world.runLoop([&] {
            QCoreApplication::quit();
            world.advance(1s);
            QCoreApplication::quit();
            QCoreApplication::quit();
            world.advance(1s);
            world.advance(2s);
        });
        QCOMPARE(code, 0);
        QCOMPARE(stops(world), oneStop);
    }

    void aStopThatFailsDoesNotKeepTheProgram() {
        AppFixture world;
        world.kuma().setStopOnQuit(true);
        QVERIFY(world.startsWithRunningContainer());
        world.answer("compose stop", 1, u"no"_s);
        world.answer("stop", 1, u"no"_s);
        QCOMPARE(world.runLoop([] { QCoreApplication::quit(); }), 0);
        QCOMPARE(stops(world), (QStringList{u"compose stop"_s, u"stop"_s}));
    }

    void aStopThatTakesTooLongDoesNotKeepTheProgram() {
        AppFixture world;
        world.kuma().setStopOnQuit(true);
        QVERIFY(world.startsWithRunningContainer());
        world.hang("compose stop");
        world.hang("stop");
        bool stillWaiting = false;
        const auto code = world.runLoop([&] {
            QCoreApplication::quit();
            world.advance(119s);
            stillWaiting = world.underWay() == QStringList{u"stop"_s};
            world.advance(1s);
        });
        QCOMPARE(code, 0);
        QVERIFY(stillWaiting);
    }

    void thePollingEndsAtOnce() {
        AppFixture world;
        world.kuma().setStopOnQuit(true);
        QVERIFY(world.startsWithRunningContainer());
        world.delay("compose stop", 30s);
        QStringList meanwhile;
        const auto code = world.runLoop([&] {
            QCoreApplication::quit();
            world.settle();
            world.takeCommands();
            world.advance(29s);
            meanwhile = world.takeCommands();
            world.advance(1s);
        });
        QCOMPARE(code, 0);
        QCOMPARE(meanwhile, QStringList());
        QVERIFY(world.kuma().isIdle());
    }

    void tasksThatWereToldToStopHaveEnded() {
        AppFixture world;
        QVERIFY(world.startsWithRunningContainer());
        QVERIFY(!world.kuma().isIdle());
        QCOMPARE(world.runLoop([] { QCoreApplication::quit(); }), 0);
        QVERIFY(world.kuma().isIdle());
    }

    void anOperationUnderWayDoesNotKeepTheProgram() {
        AppFixture world;
        QVERIFY(world.startsWithRunningContainer());
        world.hang("compose stop", 1);
        world.kuma().stop();
        world.settle();
        QCOMPARE(world.underWay(), oneStop);
        QCOMPARE(world.runLoop([] { QCoreApplication::quit(); }), 0);
    }

    void whatIsBroughtUpIsStoppedAfterwards_data() {
        QTest::addColumn<bool>("compose");
        QTest::addColumn<bool>("isRestart");
        QTest::newRow("restart, compose") << true << true;
        QTest::newRow("restart, plain") << false << true;
        // The last poll has seen no container at all.
        QTest::newRow("first start, compose") << true << false;
        QTest::newRow("first start, plain") << false << false;
    }

    /// The docker tool works on when the program is gone: the container would come up after its stop.
    void whatIsBroughtUpIsStoppedAfterwards() {
        QFETCH(const bool, compose);
        QFETCH(const bool, isRestart);
        AppFixture world;
        world.docker().compose = compose;
        world.kuma().setStopOnQuit(true);
        const char* up = compose ? "compose up" : "run";
        if (isRestart) {
            QVERIFY(world.startsWithRunningContainer());
            world.delay(up, 10s, 1);
            world.kuma().restart();
        } else {
            standin::addImage(world.docker());
            world.app().start();
            world.settle();
            world.delay(up, 10s, 1);
            world.kuma().start();
        }
        world.settle();
        QCOMPARE(world.underWay(), QStringList(QString::fromLatin1(up)));
        world.takeCommands();
        const auto code = world.runLoop([&] {
            QCoreApplication::quit();
            world.advance(10s);
        });
        QCOMPARE(code, 0);
        QCOMPARE(stops(world).last(), compose ? u"compose stop"_s : u"stop"_s);
        QCOMPARE(world.docker().container->state, "exited");
        QVERIFY(!world.underWay().contains(QString::fromLatin1(up)));
    }

    void whatHasJustComeUpIsStoppedToo() {
        AppFixture world;
        standin::addImage(world.docker());
        world.kuma().setStopOnQuit(true);
        world.app().start();
        world.settle();
        world.delay("compose up", 2s);
        world.kuma().start();
        world.settle();
        // The look that would tell of the container is under way.
        world.delay("inspect", 5s, 1);
        world.advance(2s);
        QCOMPARE(world.underWay(), QStringList(u"inspect"_s));
        QCOMPARE(world.docker().container->state, "running");
        QCOMPARE(world.kuma().state().kuma, KumaState::stopped);
        const auto code = world.runLoop([&] {
            QCoreApplication::quit();
            world.advance(10s);
        });
        QCOMPARE(code, 0);
        QCOMPARE(world.docker().container->state, "exited");
    }

    void whatNeverComesUpIsNotWaitedForLong() {
        AppFixture world;
        world.kuma().setStopOnQuit(true);
        QVERIFY(world.startsWithRunningContainer());
        world.hang("compose up", 1);
        world.kuma().restart();
        world.settle();
        QCOMPARE(world.underWay(), QStringList(u"compose up"_s));
        world.docker().container->state = "running";
        world.takeCommands();
        const auto code = world.runLoop([&] {
            QCoreApplication::quit();
            world.advance(30s);
        });
        QCOMPARE(code, 0);
        QCOMPARE(world.docker().container->state, "exited");
    }

    void windowsCloseAtOnceAndOpenNoMore() {
        AppFixture world;
        world.kuma().setStopOnQuit(true);
        QVERIFY(world.startsWithRunningContainer());
        world.app().openMainWindow();
        QVERIFY(world.mainWindow() != nullptr);
        world.delay("compose stop", 4s);
        bool closed = false;
        bool stayedClosed = false;
        const auto code = world.runLoop([&] {
            QCoreApplication::quit();
            closed = world.mainWindow() == nullptr;
            world.app().openMainWindow();
            stayedClosed = world.mainWindow() == nullptr;
            world.advance(4s);
        });
        QCOMPARE(code, 0);
        QVERIFY(closed);
        QVERIFY(stayedClosed);
    }

    void theStatusItemGoesAtOnce() {
        AppFixture world;
        world.legacyTray.appear();
        world.kuma().setStopOnQuit(true);
        QVERIFY(world.startsWithRunningContainer());
        world.advance(5s);
        QVERIFY(world.app().statusItem()->hasIcon());
        const QPointer<const StatusItem> item = world.app().statusItem();
        world.delay("compose stop", 4s);
        bool stillStopping = false;
        const auto code = world.runLoop([&] {
            QCoreApplication::quit();
            QTimer::singleShot(0, qApp, [&] {
                stillStopping = item.isNull() && world.app().statusItem() == nullptr;
                world.advance(4s);
            });
        });
        QCOMPARE(code, 0);
        QVERIFY(stillStopping);
    }

    void aQuestionIsNoObstacle() {
        AppFixture world;
        QVERIFY(world.startsWithRunningContainer());
        world.kuma().removeEverything();
        world.settle();
        QVERIFY(world.mainWindow() != nullptr);
        QVERIFY(QApplication::activeModalWidget() != nullptr);
        QCOMPARE(world.runLoop([] { QCoreApplication::quit(); }), 0);
        QVERIFY(world.docker().container.has_value());
        QVERIFY(world.kuma().isIdle());
    }

    void closingEveryWindowKeepsTheProgram() {
        AppFixture world;
        QVERIFY(world.startsWithRunningContainer());
        const auto code = world.runLoop([&] {
            world.app().openMainWindow();
            world.mainWindow()->close();
            { const QEventLoopLocker locker; }
            drainEvents();
            world.takeCommands();
            world.advance(3s);
            QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(7); });
        });
        // Our own end of the loop came first.
        QCOMPARE(code, 7);
        QVERIFY(world.takeCommands().contains(u"inspect"_s));
    }

    void controlQInTheWindowQuits() {
        AppFixture world;
        QVERIFY(world.startsWithRunningContainer());
        const auto code = world.runLoop([&] {
            world.app().openMainWindow();
            QVERIFY(QTest::qWaitForWindowActive(world.mainWindow()));
            QTest::keyClick(world.mainWindow(), Qt::Key_Q, Qt::ControlModifier);
        });
        QCOMPARE(code, 0);
    }
};

ORVANEL_TEST(TestQuitting)
#include "TestQuitting.moc"
