#include "TrayDesktop.h"
#include "standin/desktop/NotificationServer.h"
#include "standin/kuma/KumaServer.h"
#include "support/TestClass.h"

#include <QDBusMessage>
#include <QElapsedTimer>
#include <QFile>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

const auto isStarting = u"Uptime Kuma is starting…"_s;
const auto isRunning = u"Uptime Kuma is running"_s;

/// Counts the item's signals to the panel.
class NewsCounter final : public QObject {
    Q_OBJECT

public:
    explicit NewsCounter(QDBusConnection bus) {
        const auto listen = [&](const char* interface, const char* name, const char* slot) {
            if (!bus.connect({}, {}, QString::fromLatin1(interface), QString::fromLatin1(name), this, slot)) {
                qFatal("the test cannot hear the item");
            }
        };
        listen("org.kde.StatusNotifierItem", "NewIcon", SLOT(onIcon()));
        listen("org.kde.StatusNotifierItem", "NewToolTip", SLOT(onToolTip()));
        listen("com.canonical.dbusmenu", "LayoutUpdated", SLOT(onLayout()));
        listen("com.canonical.dbusmenu", "ItemsPropertiesUpdated", SLOT(onEntries()));
    }

    int icons = 0;
    int toolTips = 0;
    int layouts = 0;
    int entries = 0;

private Q_SLOTS:
    void onIcon() { icons += 1; }
    void onToolTip() { toolTips += 1; }
    void onLayout() { layouts += 1; }
    void onEntries() { entries += 1; }
};

} // namespace

/// What the icon in the status area shows and does, and what happens when the program starts a second time.
class TestTray : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void showsIconToolTipAndMenu() {
        TrayDesktop desktop;
        QVERIFY(desktop.area.open());
        desktop.program.addContainer("running");
        desktop.program.start();
        QVERIFY(desktop.saysInTheTray(isStarting));
        QCOMPARE(desktop.menu(), (QStringList{u"[Uptime Kuma is starting…]"_s, u"-"_s, u"[Open dashboard]"_s, u"Stop"_s,
                                              u"Open window"_s, u"-"_s, u"Quit"_s}));
        QCOMPARE(desktop.entry(u"Quit"_s)->shortcut, u"Ctrl+Q"_s);
        QCOMPARE(desktop.item()->status(), u"Active"_s);
        for (const int size : {16, 22, 24, 32, 48, 64}) {
            const QImage icon = desktop.item()->icon(size);
            QCOMPARE(icon.size(), QSize(size, size));
            QVERIFY(icon.pixelColor(size / 2, size / 2).alpha() == 255);
            QVERIFY(icon.pixelColor(0, 0).alpha() == 0);
        }
    }

    void tellsThePanelOnlyWhatIsNew() {
        TrayDesktop desktop;
        desktop.hurry();
        QVERIFY(desktop.area.open());
        desktop.program.addContainer("running");
        desktop.program.start();
        QVERIFY(desktop.saysInTheTray(isStarting));
        const NewsCounter news(desktop.program.bus.connect());
        const qsizetype calls = desktop.program.tools.calls().size();
        // Several rounds of polling, in which nothing changes.
        QVERIFY(waitUntil([&] { return desktop.program.tools.calls().size() >= calls + 2; }));
        QCOMPARE(news.toolTips, 0);
        QCOMPARE(news.icons, 0);
        QCOMPARE(news.layouts, 0);
        QCOMPARE(news.entries, 0);
        desktop.program.tools.change([](standin::DockerState& docker) { docker.container->state = "exited"; });
        QVERIFY(desktop.saysInTheTray(isStopped));
        QCOMPARE(news.toolTips, 1);
        // The dot was gray before.
        QCOMPARE(news.icons, 0);
        // The status line, and the two entries that changed places.
        QVERIFY(news.layouts + news.entries >= 1);
        QVERIFY(news.layouts + news.entries <= 4);
        // "Start" has replaced "Stop".
        QVERIFY(desktop.entry(u"Start"_s).has_value());
        QVERIFY(!desktop.entry(u"Stop"_s).has_value());
    }

    void theIconFollowsTheHealth() {
        const KumaServer server;
        TrayDesktop desktop;
        desktop.hurry();
        QVERIFY(desktop.area.open());
        desktop.program.setting("port=" + QByteArray::number(server.port()));
        desktop.program.addContainer("running");
        desktop.program.start();
        QVERIFY(desktop.saysInTheTray(isRunning));
        QVERIFY(desktop.showsDot(Meaning::good));
        desktop.program.tools.change([](standin::DockerState& docker) { docker.container->state = "exited"; });
        QVERIFY(desktop.showsDot(Meaning::inactive));
    }

    void theIconTellsOfAMonitorThatIsDown() {
        const KumaServer server;
        server.page(u"home"_s, R"({"config":{"title":"Home"},"publicGroupList":[{"id":1,"name":"All",)"
                               R"("monitorList":[{"id":1,"name":"Shop"}]}]})");
        server.heartbeat(u"home"_s, R"({"heartbeatList":{"1":[{"status":0,"ping":null}]},"uptimeList":{}})");
        TrayDesktop desktop;
        QVERIFY(desktop.area.open());
        desktop.program.setting("port=" + QByteArray::number(server.port()));
        desktop.program.setting("slug=home");
        desktop.program.addContainer("running");
        desktop.program.start();
        QVERIFY(desktop.showsDot(Meaning::bad));
    }

    void aClickOnANotificationOpensTheWindow() {
        const KumaServer server;
        const auto slug = u"home"_s;
        server.page(slug, R"({"publicGroupList":[{"id":1,"name":"All","monitorList":[{"id":1,"name":"Shop"}]}]})");
        server.heartbeat(slug, R"({"heartbeatList":{"1":[{"status":1}]},"uptimeList":{}})");
        TrayDesktop desktop;
        desktop.hurry();
        standin::NotificationServer notifications(desktop.program.bus.connect());
        QVERIFY(notifications.open());
        QVERIFY(desktop.area.open());
        desktop.program.setting("port=" + QByteArray::number(server.port()));
        desktop.program.setting("slug=home");
        desktop.program.addContainer("running");
        desktop.program.start();
        QVERIFY(desktop.saysInTheTray(u"All 1 monitors up"_s));
        server.heartbeat(slug, R"({"heartbeatList":{"1":[{"status":0}]},"uptimeList":{}})");
        QVERIFY(waitUntil([&] { return notifications.shown().size() == 1; }));
        QVERIFY(!desktop.windows.titles().contains(title));
        notifications.invoke(notifications.shown().first().id, u"default"_s);
        QVERIFY(desktop.showsWindow());
    }

    void clickOpensTheWindow() {
        TrayDesktop desktop;
        QVERIFY(desktop.area.open());
        desktop.program.start();
        QVERIFY(desktop.saysInTheTray(isStopped));
        desktop.item()->activate();
        QVERIFY(desktop.showsWindow());
    }

    void menuOpensOneWindow() {
        TrayDesktop desktop;
        QVERIFY(desktop.area.open());
        desktop.program.start();
        QVERIFY(desktop.saysInTheTray(isStopped));
        desktop.press("Open window");
        QVERIFY(desktop.showsWindow());
        desktop.press("Open window");
        desktop.press("Start");
        QVERIFY(waitUntil([&] { return desktop.program.hasCalled(u"compose up"_s); }));
        QCOMPARE(desktop.windows.titles().count(title), 1);
    }

    void menuQuits() {
        TrayDesktop desktop;
        QVERIFY(desktop.area.open());
        desktop.program.setting("stopOnQuit=true");
        desktop.program.addContainer("running");
        QProcess& process = desktop.program.start();
        QVERIFY(desktop.saysInTheTray(isStarting));
        desktop.press("Quit");
        QCOMPARE(RunningProgram::exitCode(process), 0);
        QCOMPARE(desktop.program.tools.state().container->state, "exited");
        QVERIFY(waitUntil([&] { return desktop.item() == nullptr; }));
    }

    void theIconGoesWhenTheEndBegins() {
        TrayDesktop desktop;
        QVERIFY(desktop.area.open());
        desktop.program.setting("stopOnQuit=true");
        desktop.program.addContainer("running");
        desktop.program.delayStop(60000);
        const QProcess& process = desktop.program.start();
        QVERIFY(desktop.saysInTheTray(isStarting));
        desktop.press("Quit");
        QVERIFY(waitUntil([&] { return desktop.item() == nullptr; }));
        QCOMPARE(process.state(), QProcess::Running);
    }

    void aStartDuringTheEndOpensTheWindow() {
        TrayDesktop desktop;
        QVERIFY(desktop.area.open());
        desktop.program.setting("stopOnQuit=true");
        desktop.program.addContainer("running");
        desktop.program.delayStop(1000);
        QProcess& first = desktop.program.start();
        QVERIFY(desktop.saysInTheTray(isStarting));
        desktop.press("Quit");
        QVERIFY(waitUntil([&] { return desktop.item() == nullptr; }));
        desktop.program.start();
        QCOMPARE(RunningProgram::exitCode(first), 0);
        QVERIFY(desktop.showsWindow());
        QVERIFY(desktop.saysInTheTray(isStopped));
    }

    void aStartDuringASlowEndSaysSo() {
        TrayDesktop desktop;
        QVERIFY(desktop.area.open());
        desktop.program.setting("stopOnQuit=true");
        desktop.program.addContainer("running");
        desktop.program.delayStop(60000);
        const QProcess& first = desktop.program.start();
        QVERIFY(desktop.saysInTheTray(isStarting));
        desktop.press("Quit");
        QVERIFY(waitUntil([&] { return desktop.item() == nullptr; }));
        QElapsedTimer time;
        time.start();
        QProcess& second = desktop.program.start();
        // The first copy has no window any more.
        QVERIFY(desktop.showsWindow());
        // After two seconds, because most ends are quicker, and something for a slow computer.
        QVERIFY2(time.elapsed() >= 2000 && time.elapsed() < 15'000, qPrintable(QString::number(time.elapsed())));
        QCOMPARE(first.state(), QProcess::Running);
        desktop.windows.pressEscape();
        QCOMPARE(RunningProgram::exitCode(second), 0);
        QCOMPARE(first.state(), QProcess::Running);
    }

    void aSecondStartThatCannotReachTheFirstSaysSo() {
        TrayDesktop desktop;
        QVERIFY(desktop.area.open());
        const QProcess& first = desktop.program.start();
        QVERIFY(desktop.saysInTheTray(isStopped));
        QVERIFY(!desktop.windows.titles().contains(title));
        desktop.program.environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"disabled:"_s);
        desktop.program.errorFile = desktop.program.home.path(u"errors"_s);
        QProcess& second = desktop.program.start();
        QVERIFY(desktop.showsWindow());
        QFile errors(desktop.program.errorFile);
        QVERIFY(errors.open(QIODevice::ReadOnly));
        QVERIFY(errors.readAll().contains("uses the same data."));
        desktop.windows.pressEscape();
        QCOMPARE(RunningProgram::exitCode(second), 1);
        QCOMPARE(first.state(), QProcess::Running);
    }

    void aSecondStartOpensTheWindow() {
        TrayDesktop desktop;
        QVERIFY(desktop.area.open());
        const QProcess& first = desktop.program.start();
        QVERIFY(desktop.saysInTheTray(isStopped));
        QCOMPARE(RunningProgram::exitCode(desktop.program.start()), 0);
        QVERIFY(desktop.showsWindow());
        QCOMPARE(first.state(), QProcess::Running);
        QCOMPARE(desktop.area.items().size(), 1U);
    }
};

ORVANEL_TEST(TestTray)
#include "TestTray.moc"
