#include "RunningProgram.h"
#include "SessionManager.h"
#include "standin/desktop/VirtualDisplay.h"
#include "standin/desktop/WaylandDisplay.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

/// SmRestartNever in the protocol.
constexpr int never = 3;

bool isStopped(const RunningProgram& world) {
    return world.tools.state().container->state == "exited";
}

void showOn(RunningProgram& world, const standin::VirtualDisplay& display) {
    world.environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
    world.environment.insert(u"DISPLAY"_s, display.name());
}

QString inMilliseconds(std::optional<std::chrono::milliseconds> time) {
    return time ? u"%1 ms"_s.arg(time->count()) : u"it did not end"_s;
}

} // namespace

class TestSessionEnd : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void leavesWithTheSession_data() {
        QTest::addColumn<bool>("stopsOnQuit");
        QTest::newRow("at once") << false;
        QTest::newRow("after the container") << true;
    }
    void leavesWithTheSession() {
        QFETCH(const bool, stopsOnQuit);
        const standin::VirtualDisplay display;
        SessionManager session;
        RunningProgram world;
        showOn(world, display);
        world.environment.insert(u"SESSION_MANAGER"_s, session.address());
        if (stopsOnQuit) {
            world.setting("stopOnQuit=true");
        }
        world.addContainer("running");
        QProcess& program = world.start();
        QVERIFY(world.knowsItsContainer());
        QVERIFY(waitUntil([&] { return session.hasProgram(); }));

        session.endSession();
        QVERIFY(waitUntil([&] { return session.saved().has_value(); }));
        QCOMPARE(session.saved(), std::optional(true));
        // Only the login item decides whether it starts with the next session.
        QCOMPARE(session.restartStyle(), std::optional(never));
        // Another program may still keep the session from ending.
        QCOMPARE(program.state(), QProcess::Running);
        QVERIFY(!isStopped(world));

        const auto ending = RunningProgram::timeToEnd(program, [&] { session.die(); });
        QCOMPARE(RunningProgram::exitCode(program), 0);
        QCOMPARE(isStopped(world), stopsOnQuit);
        QVERIFY2(stopsOnQuit || (ending && *ending < 2s), qPrintable(inMilliseconds(ending)));
    }

    void leavesWithItsDisplay_data() {
        QTest::addColumn<bool>("isWayland");
        QTest::addColumn<bool>("stopsOnQuit");
        QTest::newRow("x11") << false << false;
        QTest::newRow("x11, that should stop the container") << false << true;
        QTest::newRow("wayland") << true << false;
        QTest::newRow("wayland, that should stop the container") << true << true;
    }
    /// When the display goes away, its libraries end the program at once. There is no time to stop a container, which
    /// keeps running; the next start finds everything in order.
    void leavesWithItsDisplay() {
        QFETCH(const bool, isWayland);
        QFETCH(const bool, stopsOnQuit);
        if (isWayland && !standin::WaylandDisplay::isInstalled()) {
            QSKIP("weston is not installed");
        }
        std::unique_ptr<standin::VirtualDisplay> x11;
        std::unique_ptr<standin::WaylandDisplay> wayland;
        RunningProgram world;
        if (isWayland) {
            wayland = std::make_unique<standin::WaylandDisplay>();
            wayland->addTo(world.environment);
        } else {
            x11 = std::make_unique<standin::VirtualDisplay>();
            showOn(world, *x11);
        }
        if (stopsOnQuit) {
            world.setting("stopOnQuit=true");
        }
        world.addContainer("running");
        QProcess& program = world.start();
        QVERIFY(world.knowsItsContainer());
        const auto ending = RunningProgram::timeToEnd(program, [&] {
            x11.reset();
            wayland.reset();
        });
        QVERIFY2(ending && *ending < 2s, qPrintable(inMilliseconds(ending)));
        const auto exitCode = RunningProgram::exitCode(program);
        // This exit code is Qt's: 1 in 6.4, -1 in 6.8 for Wayland.
        QVERIFY2(exitCode == 1 || (isWayland && exitCode == 255), qPrintable(QString::number(exitCode.value_or(-1))));
        QCOMPARE(world.tools.state().container->state, "running");

        world.environment.insert(u"QT_QPA_PLATFORM"_s, u"offscreen"_s);
        QProcess& next = world.start();
        const auto composeVersion = u"compose version"_s;
        QVERIFY(waitUntil([&] { return world.tools.commands().count(composeVersion) == 2; }));
        RunningProgram::signal(next, SIGTERM);
        QCOMPARE(RunningProgram::exitCode(next), 0);
        QCOMPARE(isStopped(world), stopsOnQuit);
    }
};

ORVANEL_TEST(TestSessionEnd)
#include "TestSessionEnd.moc"
