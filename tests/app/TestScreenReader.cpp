#include "RunningProgram.h"
#include "standin/desktop/ScreenReader.h"
#include "standin/desktop/VirtualDisplay.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using standin::ScreenReader;

namespace {

const auto button = u"push button"_s;

const auto keepsRestarting = u"Uptime Kuma keeps restarting. Open the logs to see why."_s;

/// The program on a display, and a user who cannot see it. Without a status area, its window opens by itself.
struct Desktop {
    Desktop()
        : reader(program.bus.connect()) {
        program.environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        program.environment.insert(u"DISPLAY"_s, display.name());
        // This makes the program's pauses ten times shorter.
        program.environment.insert(u"ORVANEL_HASTE"_s, u"10"_s);
    }

    standin::VirtualDisplay display;
    RunningProgram program;
    ScreenReader reader;

    template <class Condition>
    bool readUntil(const Condition& condition) {
        return waitUntil([&] {
            reader.refresh();
            return condition();
        });
    }
    void press(const QString& role, const QString& name) {
        QVERIFY(readUntil([&] {
            const auto found = reader.find(role, name);
            return found && found->enabled;
        }));
        reader.press(*reader.find(role, name));
    }
    /// How often it is told, where its labels say that.
    int timesTold(const QString& message) {
        reader.refresh();
        const auto card = reader.find(u"notification"_s, u"Error"_s);
        return card && reader.find(u"label"_s, message) ? reader.timesShown(*card) : 0;
    }
};

} // namespace

/// What the program says by itself to people who cannot see it.
class TestScreenReader : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anErrorIsToldAndTheNextOneToo() {
        Desktop desktop;
        QVERIFY(desktop.reader.open(desktop.program.bus.address()));
        desktop.program.tools.change([](standin::DockerState& docker) {
            docker.overrides = {{.command = "image inspect", .exitCode = 1},
                                {.command = "compose pull", .exitCode = 1},
                                {.command = "pull", .exitCode = 1}};
        });
        desktop.program.start();
        desktop.press(button, u"Start Uptime Kuma"_s);
        QVERIFY(waitUntil([&] { return desktop.timesTold(u"Docker reported an error."_s) == 1; }));
        // While it stands, the next reading brings another.
        desktop.program.tools.change([](standin::DockerState& docker) { addContainer(docker, "restarting", 1); });
        QVERIFY(waitUntil([&] { return desktop.timesTold(keepsRestarting) == 2; }));
    }
};

ORVANEL_TEST(TestScreenReader)
#include "TestScreenReader.moc"
