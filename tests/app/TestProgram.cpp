#include "RunningProgram.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto plainStop = u"stop"_s;
const auto composeStop = u"compose stop"_s;

bool wasStopped(const RunningProgram& world) {
    return world.hasCalled(composeStop) || world.hasCalled(plainStop);
}

std::string containerState(const RunningProgram& world) {
    return world.tools.state().container->state;
}

} // namespace

class TestProgram : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void signalsEndIt_data() {
        QTest::addColumn<int>("number");
        QTest::newRow("SIGTERM") << SIGTERM;
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGHUP") << SIGHUP;
    }
    void signalsEndIt() {
        QFETCH(const int, number);
        RunningProgram world;
        world.addContainer("running");
        QProcess& program = world.start();
        QVERIFY(world.knowsItsContainer());
        RunningProgram::signal(program, number);
        QCOMPARE(RunningProgram::exitCode(program), 0);
        QVERIFY(!wasStopped(world));
        QCOMPARE(containerState(world), "running");
    }

    void signalsStopTheContainerWhereThatIsWanted_data() { signalsEndIt_data(); }
    void signalsStopTheContainerWhereThatIsWanted() {
        QFETCH(const int, number);
        RunningProgram world;
        world.setting("stopOnQuit=true");
        world.addContainer("running");
        world.delayStop(1000);
        QProcess& program = world.start();
        QVERIFY(world.knowsItsContainer());
        RunningProgram::signal(program, number);
        QVERIFY(waitUntil([&] { return wasStopped(world); }));
        // Impatience changes nothing.
        RunningProgram::signal(program, number);
        RunningProgram::signal(program, SIGTERM);
        QCOMPARE(RunningProgram::exitCode(program), 0);
        QCOMPARE(containerState(world), "exited");
        QCOMPARE(world.tools.commands().count(composeStop) + world.tools.commands().count(plainStop), 1);
    }

    void itsEndTakesUnderTwoSeconds_data() {
        QTest::addColumn<int>("number");
        QTest::addColumn<bool>("hangs");
        QTest::newRow("SIGTERM") << SIGTERM << false;
        QTest::newRow("SIGHUP") << SIGHUP << false;
        QTest::newRow("with a child that does not end") << SIGTERM << true;
    }
    /// A session that ends waits 5 s for its programs, a child that hangs has 10 s.
    void itsEndTakesUnderTwoSeconds() {
        QFETCH(const int, number);
        QFETCH(const bool, hangs);
        RunningProgram world;
        world.addContainer("running");
        if (hangs) {
            world.tools.change([](standin::DockerState& docker) {
                docker.overrides.push_back({.command = "inspect", .hangs = true, .ignoresTerm = true});
            });
        }
        QProcess& program = world.start();
        QVERIFY(waitUntil([&] { return world.hasCalled(u"inspect"_s); }));
        QVERIFY(hangs || world.knowsItsContainer());
        const auto ending = RunningProgram::timeToEnd(program, number);
        QVERIFY(ending.has_value());
        QCOMPARE(RunningProgram::exitCode(program), 0);
        QVERIFY2(*ending < 2s, qPrintable(u"%1 ms"_s.arg(ending->count())));
    }

    void aStopThatFailsDoesNotKeepIt() {
        RunningProgram world;
        world.setting("stopOnQuit=true");
        world.addContainer("running");
        world.tools.change([](standin::DockerState& docker) {
            docker.overrides.push_back({.command = "compose stop", .exitCode = 1});
            docker.overrides.push_back({.command = "stop", .exitCode = 1});
        });
        QProcess& program = world.start();
        QVERIFY(world.knowsItsContainer());
        RunningProgram::signal(program, SIGTERM);
        QCOMPARE(RunningProgram::exitCode(program), 0);
        QVERIFY(world.hasCalled(plainStop));
    }

    void endsEarlyToo() {
        RunningProgram world;
        QProcess& program = world.start();
        QVERIFY(waitUntil([&] { return !world.tools.commands().isEmpty(); }));
        RunningProgram::signal(program, SIGTERM);
        QCOMPARE(RunningProgram::exitCode(program), 0);
    }

    void runsWithoutASessionBus() {
        RunningProgram world;
        world.environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"disabled:"_s);
        world.addContainer("running");
        QProcess& program = world.start();
        QVERIFY(world.knowsItsContainer());
        RunningProgram::signal(program, SIGTERM);
        QCOMPARE(RunningProgram::exitCode(program), 0);
    }

    void survivesTheEndOfTheSessionBus() {
        RunningProgram world;
        world.addContainer("running");
        QProcess& program = world.start();
        QVERIFY(world.knowsItsContainer());
        world.bus.stop();
        const qsizetype calls = world.tools.calls().size();
        QVERIFY(waitUntil([&] { return world.tools.calls().size() > calls; }));
        RunningProgram::signal(program, SIGTERM);
        QCOMPARE(RunningProgram::exitCode(program), 0);
    }

    void aSecondCopyLeavesAtOnce() {
        RunningProgram world;
        QProcess& first = world.start();
        QVERIFY(world.knowsItsContainer());
        QProcess& second = world.start();
        QCOMPARE(RunningProgram::exitCode(second), 0);
        QCOMPARE(first.state(), QProcess::Running);
        RunningProgram::signal(first, SIGTERM);
        QCOMPARE(RunningProgram::exitCode(first), 0);
    }

    void aStartDuringTheEndIsNotLost() {
        RunningProgram world;
        world.setting("stopOnQuit=true");
        world.addContainer("running");
        world.delayStop(1000);
        QProcess& first = world.start();
        QVERIFY(world.knowsItsContainer());
        RunningProgram::signal(first, SIGTERM);
        QVERIFY(waitUntil([&] { return wasStopped(world); }));
        // The first may have asked twice: for the poll, and for the stop that began meanwhile.
        const auto composeVersion = u"compose version"_s;
        const auto askedByFirst = world.tools.commands().count(composeVersion);
        QProcess& second = world.start();
        QCOMPARE(RunningProgram::exitCode(first), 0);
        QVERIFY(waitUntil([&] { return world.tools.commands().count(composeVersion) > askedByFirst; }));
        QCOMPARE(second.state(), QProcess::Running);
        // It can be reached by its name now.
        QProcess& third = world.start();
        QCOMPARE(RunningProgram::exitCode(third), 0);
        RunningProgram::signal(second, SIGTERM);
        QCOMPARE(RunningProgram::exitCode(second), 0);
    }

    void aSecondCopyThatCannotReachTheFirstFails() {
        RunningProgram world;
        world.environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"disabled:"_s);
        QProcess& first = world.start();
        QVERIFY(world.knowsItsContainer());
        QProcess& second = world.start();
        QCOMPARE(RunningProgram::exitCode(second), 1);
        RunningProgram::signal(first, SIGTERM);
        QCOMPARE(RunningProgram::exitCode(first), 0);
    }

    void runsWithItsStandardStreamsClosed() {
        RunningProgram world;
        world.addContainer("running");
        QProcess& program = world.startThrough(u"/bin/sh"_s, {u"-c"_s, u"exec \"$0\" <&- >&- 2>&-"_s});
        QVERIFY(world.knowsItsContainer());
        for (const char* const stream : {"0", "1", "2"}) {
            QCOMPARE(QFile::symLinkTarget(u"/proc/%1/fd/%2"_s.arg(program.processId()).arg(QLatin1String(stream))),
                     u"/dev/null"_s);
        }
        RunningProgram::signal(program, SIGTERM);
        QCOMPARE(RunningProgram::exitCode(program), 0);
    }

    void doesNotStayInTheFolderWhereItWasStarted() {
        RunningProgram world;
        QProcess& program = world.start();
        QVERIFY(world.knowsItsContainer());
        QCOMPARE(QFile::symLinkTarget(u"/proc/%1/cwd"_s.arg(program.processId())), world.home.path());
        RunningProgram::signal(program, SIGTERM);
        QCOMPARE(RunningProgram::exitCode(program), 0);
    }
};

ORVANEL_TEST(TestProgram)
#include "TestProgram.moc"
