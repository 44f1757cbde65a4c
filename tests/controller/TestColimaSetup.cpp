#include "OperationsWorld.h"
#include "controller/RuntimeSetup.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

struct World : OperationsWorld {
    World() {
        docker.state().daemon = standin::Daemon::down;
        docker.onInstall([this](const QString& tool) {
            tools.append(tool);
            installedDocker = u"/opt/bin/docker"_s;
        });
    }

    /// Moves the clock past all pauses.
    void finish() {
        settle();
        while ((*state)->setupBusy && clock.untilNextTimer() >= 0ms) {
            clock.advance(clock.untilNextTimer());
            settle();
        }
    }

    SetupFrame frame{context, clock, refresh, tasks};
    RuntimeSetup setup{frame};
};

} // namespace

class TestColimaSetup : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void installsWhatIsMissingAndStartsIt() {
        World world;
        world.installedDocker = std::nullopt;
        world.tools = {u"brew"_s};
        world.docker.state().colimaDelay = 2;
        world.setup.installAndStart();
        world.finish();
        QCOMPARE(world.message(), QString());
        QCOMPARE(world.takeCommands(),
                 (QStringList{u"brew install"_s, u"info"_s, u"colima start"_s, u"ps"_s, u"ps"_s, u"ps"_s}));
        QVERIFY((*world.state)->dockerState == DockerState::ready);
        QVERIFY((*world.state)->setupLog.startsWith(u"$ brew install colima docker\n"_s));
        QCOMPARE(world.refreshes, 1);
    }

    void startsNothingWhereARuntimeAnswers() {
        World world;
        world.docker.state().daemon = standin::Daemon::up;
        findContainer(world.context);
        world.setup.start();
        world.finish();
        QCOMPARE(world.takeCommands(), QStringList(u"info"_s));
        QVERIFY((*world.state)->dockerState == DockerState::ready);
        QCOMPARE(world.refreshes, 1);
    }

    void withoutAKnownToolNothingStarts() {
        World world;
        world.setup.start();
        world.finish();
        QVERIFY(!(*world.state)->setupBusy);
        QCOMPARE(world.takeCommands(), QStringList());
    }

    void eachFailureIsASentence_data() {
        QTest::addColumn<QStringList>("tools");
        QTest::addColumn<QString>("failing");
        QTest::addColumn<QString>("message");
        QTest::newRow("no brew") << QStringList() << QString()
                                 << u"Homebrew is not installed, so the app cannot install Colima for you."_s;
        QTest::newRow("brew fails") << QStringList(u"brew"_s) << u"brew install"_s
                                    << u"Homebrew could not install Colima and Docker."_s;
        QTest::newRow("colima fails") << QStringList(u"colima"_s) << u"colima start"_s << u"Colima could not start."_s;
        QTest::newRow("no answer") << QStringList(u"colima"_s) << u"ps"_s
                                   << u"Colima started but the Docker daemon is not answering."_s;
    }

    void eachFailureIsASentence() {
        QFETCH(const QStringList, tools);
        QFETCH(const QString, failing);
        World world;
        world.tools = tools;
        world.docker.state().overrides.push_back({.command = failing.toStdString(), .exitCode = 1, .out = "no"});
        world.setup.installAndStart();
        world.finish();
        QTEST(world.message(), "message");
        QVERIFY(!(*world.state)->setupBusy);
        QCOMPARE(world.refreshes, 0);
    }

    void oneSetupAtATimeAndACancelEndsItsCommand() {
        World world;
        world.tools = {u"brew"_s};
        world.docker.state().overrides.push_back({.command = "brew install", .hangs = true});
        world.setup.installAndStart();
        world.setup.installAndStart();
        world.settle();
        QCOMPARE(world.takeCommands(), QStringList(u"brew install"_s));
        QCOMPARE((*world.state)->setupBusy, std::optional(u"Installing Colima and Docker with Homebrew"_s));
        world.frame.cancel();
        world.settle();
        QCOMPARE(world.message(), u"Cancelled."_s);
        QVERIFY(!(*world.state)->setupBusy);
    }
};

ORVANEL_TEST(TestColimaSetup)
#include "TestColimaSetup.moc"
