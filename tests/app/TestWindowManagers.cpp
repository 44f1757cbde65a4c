#include "OtherProgram.h"
#include "RunningProgram.h"
#include "platform/AppIdentity.h"
#include "standin/desktop/StatusArea.h"
#include "standin/desktop/VirtualDisplay.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QFile>
#include <QStandardPaths>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

const auto ourTitle = u"Orvanel"_s;
// These are the commands of Debian and most other distributions.
const QStringList settingsDaemons{u"/usr/lib/x86_64-linux-gnu/xfce4/xfconf/xfconfd"_s,
                                  u"/usr/lib/aarch64-linux-gnu/xfce4/xfconf/xfconfd"_s,
                                  u"/usr/lib/xfce4/xfconf/xfconfd"_s};

/// Xfce's users switch this on; other window managers always have it.
constexpr auto preventFocusStealing = R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfwm4" version="1.0">
  <property name="general" type="empty">
    <property name="prevent_focus_stealing" type="bool" value="true"/>
  </property>
</channel>
)";

/// The program in a status area of an X display with a window manager, where the user types into another program.
class Desktop {
public:
    explicit Desktop(const QString& windowManager)
        : other(m_display.name())
        , area(program.bus.connect()) {
        program.environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        program.environment.insert(u"DISPLAY"_s, m_display.name());
        if (windowManager == u"xfwm4"_s) {
            program.home.write(u".config/xfce4/xfconf/xfce-perchannel-xml/xfwm4.xml"_s, preventFocusStealing);
            run(m_settings, settingsDaemon());
            const auto bus = program.bus.connect();
            if (!waitUntil([&] { return bus.interface()->isServiceRegistered(u"org.xfce.Xfconf"_s).value(); })) {
                qFatal("the settings of Xfce are not there");
            }
        }
        run(m_windowManager, windowManager);
    }
    ~Desktop() {
        for (QProcess* process : {&m_windowManager, &m_settings}) {
            process->kill();
            process->waitForFinished();
        }
    }

    static QString settingsDaemon() {
        const auto found = std::find_if(settingsDaemons.begin(), settingsDaemons.end(),
                                        [](const QString& path) { return QFile::exists(path); });
        return found != settingsDaemons.end() ? *found : QString();
    }

    /// What went wrong; empty when the user types and the program is in the status area.
    [[nodiscard]] QString begin() {
        if (!waitUntil([&] { return other.hasWindowManager(); })) {
            return u"there is no window manager"_s;
        }
        if (!area.open()) {
            return u"there is no status area"_s;
        }
        first = &program.start();
        other.showWindow();
        if (!waitUntil([&] { return area.item() != nullptr && menuEntry().has_value(); })) {
            return u"the program has no menu"_s;
        }
        return userTypes() ? QString() : u"the user cannot type; active is "_s + other.activeTitle();
    }
    /// The user types into the other program, and it is there that the keys arrive.
    [[nodiscard]] bool userTypes() {
        const int before = other.typed();
        // A click while the window manager is busy with another window may be lost.
        QDeadlineTimer nextClick(0);
        return waitUntil([&] {
            if (nextClick.hasExpired()) {
                other.click();
                nextClick.setRemainingTime(500);
            }
            if (other.activeTitle() == OtherProgram::title()) {
                other.type();
            }
            return other.typed() >= before + 5;
        });
    }
    /// Whether our window becomes the active one, by a request that is no older than what the user typed. Window
    /// managers differ in how much older they let it be.
    [[nodiscard]] bool isInFront() {
        return waitUntil([&] { return other.activeTitle() == ourTitle && other.isActiveAsNewAsTyping(); });
    }
    /// The last that the user does in our window. What Qt knows of the time is older than what follows elsewhere.
    void userLeaves() { other.type(); }
    /// Activates the program as a panel does that starts programs over the bus.
    void activate(const QString& startupId) {
        auto call = QDBusMessage::createMethodCall(identity::desktopId(), identity::busPath(),
                                                   u"org.freedesktop.Application"_s, u"Activate"_s);
        call.setArguments({QVariantMap{{u"desktop-startup-id"_s, startupId}}});
        program.bus.connect().asyncCall(call);
    }
    std::optional<standin::MenuEntry> menuEntry() { return area.item()->menu().find(u"Open window"_s); }

private:
    void run(QProcess& process, const QString& program_) {
        process.setProcessEnvironment(program.environment);
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start(program_, QStringList());
        if (!process.waitForStarted()) {
            qFatal("%s did not start", qPrintable(program_));
        }
    }

    standin::VirtualDisplay m_display;

public:
    RunningProgram program;
    OtherProgram other;
    standin::StatusArea area;
    QProcess* first = nullptr;

private:
    QProcess m_settings;
    QProcess m_windowManager;
};

} // namespace

class TestWindowManagers : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whoeverAsksForTheWindowGetsIt_data() {
        QTest::addColumn<QString>("windowManager");
        QTest::newRow("openbox") << u"openbox"_s;
        QTest::newRow("xfwm4") << u"xfwm4"_s;
    }
    void whoeverAsksForTheWindowGetsIt() {
        QFETCH(const QString, windowManager);
        if (QStandardPaths::findExecutable(windowManager).isEmpty() ||
            (windowManager == u"xfwm4"_s && Desktop::settingsDaemon().isEmpty())) {
            QSKIP(qPrintable(windowManager + u" is not installed"_s));
        }
        Desktop desktop(windowManager);
        const auto firstId = u"session/orvanel/41_TIME1"_s;
        desktop.program.environment.insert(u"DESKTOP_STARTUP_ID"_s, firstId);
        QCOMPARE(desktop.begin(), QString());
        QVERIFY(waitUntil([&] { return desktop.other.hasEnded(firstId); }));

        QVERIFY(desktop.area.item()->menu().press(desktop.menuEntry()->id));
        QVERIFY(desktop.isInFront());

        // The window is open, but behind.
        desktop.userLeaves();
        QVERIFY(desktop.userTypes());
        desktop.area.item()->activate();
        QVERIFY(desktop.isInFront());

        // The window was closed and is created again.
        desktop.userLeaves();
        desktop.other.closeActive();
        QVERIFY(waitUntil([&] { return desktop.other.activeTitle() != ourTitle; }));
        QVERIFY(desktop.userTypes());
        QVERIFY(desktop.area.item()->menu().press(desktop.menuEntry()->id));
        QVERIFY(desktop.isInFront());

        desktop.userLeaves();
        QVERIFY(desktop.userTypes());
        const auto startupId = u"launcher/orvanel/42-\"quoted\"_TIME1"_s;
        desktop.program.environment.insert(u"DESKTOP_STARTUP_ID"_s, startupId);
        QCOMPARE(RunningProgram::exitCode(desktop.program.start()), 0);
        QVERIFY(desktop.isInFront());
        QVERIFY(waitUntil([&] { return desktop.other.hasEnded(startupId); }));
    }

    /// Otherwise the pointer goes on showing that something starts.
    void startupSequencesEndWhoeverCanEndThem() {
        const auto windowManager = u"openbox"_s;
        if (QStandardPaths::findExecutable(windowManager).isEmpty()) {
            QSKIP("openbox is not installed");
        }
        Desktop desktop(windowManager);
        QCOMPARE(desktop.begin(), QString());
        const auto activation = u"panel/orvanel/43_TIME1"_s;
        desktop.activate(activation);
        QVERIFY(waitUntil([&] { return desktop.other.hasEnded(activation); }));

        // The first copy hangs, so the second one must do it.
        RunningProgram::signal(*desktop.first, SIGSTOP);
        const auto startupId = u"launcher/orvanel/44_TIME1"_s;
        desktop.program.environment.insert(u"DESKTOP_STARTUP_ID"_s, startupId);
        const std::optional<int> code = RunningProgram::exitCode(desktop.program.start());
        const bool hasEnded = waitUntil([&] { return desktop.other.hasEnded(startupId); });
        RunningProgram::signal(*desktop.first, SIGCONT);
        QCOMPARE(code, 0);
        QVERIFY(hasEnded);
    }
};

ORVANEL_TEST(TestWindowManagers)
#include "TestWindowManagers.moc"
