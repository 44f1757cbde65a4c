#include "RunningProgram.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QDir>
#include <QFile>
#include <QMap>
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

/// The outcome of a run that ends by itself.
struct Answer {
    std::optional<int> code;
    QString output;
    QString errors;
};

/// Runs the program without a display, unless `variables` name one.
Answer answerTo(const QStringList& arguments, const QMap<QString, QString>& variables = {}) {
    const TestHome home;
    auto environment = QProcessEnvironment::systemEnvironment();
    for (const QString& name : {u"DISPLAY"_s, u"WAYLAND_DISPLAY"_s, u"QT_QPA_PLATFORM"_s, u"XDG_SESSION_TYPE"_s}) {
        environment.remove(name);
    }
    for (const QString& name : variables.keys()) {
        environment.insert(name, variables.value(name));
    }
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QString::fromUtf8(ORVANEL_PROGRAM), arguments);
    const auto code = RunningProgram::exitCode(process);
    return {code, QString::fromUtf8(process.readAllStandardOutput()),
            QString::fromUtf8(process.readAllStandardError())};
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
        // Further signals change nothing.
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
    /// A session that ends may wait only 5 s for its programs, and a child that hangs has a limit of 10 s.
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
        // The second copy owns the name now.
        QProcess& third = world.start();
        QCOMPARE(RunningProgram::exitCode(third), 0);
        RunningProgram::signal(second, SIGTERM);
        QCOMPARE(RunningProgram::exitCode(second), 0);
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

    void helpAndVersionNeedNoDisplay_data() {
        QTest::addColumn<QString>("option");
        QTest::addColumn<QString>("firstLine");
        const auto version = u"Orvanel "_s + QString::fromUtf8(ORVANEL_VERSION);
        QTest::newRow("--help") << u"--help"_s << u"Usage: orvanel [OPTION]"_s;
        QTest::newRow("-h") << u"-h"_s << u"Usage: orvanel [OPTION]"_s;
        QTest::newRow("--version") << u"--version"_s << version;
        QTest::newRow("-v") << u"-v"_s << version;
    }
    void helpAndVersionNeedNoDisplay() {
        QFETCH(const QString, option);
        QFETCH(const QString, firstLine);
        const Answer answer = answerTo({option});
        QCOMPARE(answer.code, std::optional(0));
        QCOMPARE(answer.output.section(u'\n', 0, 0), firstLine);
        QCOMPARE(answer.errors, QString());
    }

    void anUnknownOptionIsRefused() {
        const Answer answer = answerTo({u"--frobnicate"_s});
        QCOMPARE(answer.code, std::optional(2));
        QCOMPARE(answer.output, QString());
        QCOMPARE(answer.errors, u"orvanel: \"--frobnicate\" is not an option; see \"orvanel --help\".\n"_s);
    }

    void withoutADisplayItSaysSoAndEnds_data() {
        QTest::addColumn<QString>("platform");
        QTest::addColumn<QString>("variable");
        QTest::addColumn<QString>("value");
        QTest::newRow("none") << QString() << QString() << QString();
        QTest::newRow("X11, nothing there") << QString() << u"DISPLAY"_s << u":9977"_s;
        QTest::newRow("X11 alone, nothing there") << u"xcb"_s << u"DISPLAY"_s << u":9977"_s;
        QTest::newRow("Wayland, nothing there") << QString() << u"WAYLAND_DISPLAY"_s << u"wayland-9977"_s;
        QTest::newRow("Wayland alone, nothing there") << u"wayland"_s << u"WAYLAND_DISPLAY"_s << u"wayland-9977"_s;
        QTest::newRow("a platform that Qt does not have") << u"nonsense"_s << QString() << QString();
    }
    void withoutADisplayItSaysSoAndEnds() {
        QFETCH(const QString, platform);
        QFETCH(const QString, variable);
        QFETCH(const QString, value);
        QMap<QString, QString> variables;
        if (!variable.isEmpty()) {
            variables.insert(variable, value);
        }
        if (!platform.isEmpty()) {
            variables.insert(u"QT_QPA_PLATFORM"_s, platform);
        }
        const Answer answer = answerTo({}, variables);
        QCOMPARE(answer.code, std::optional(1));
        QCOMPARE(answer.output, QString());
        QCOMPARE(answer.errors.count(u'\n'), 1);
        QVERIFY2(answer.errors.contains(u"start Orvanel in a graphical session"_s), qPrintable(answer.errors));
        QVERIFY2(answer.errors.contains(value), qPrintable(answer.errors));
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
