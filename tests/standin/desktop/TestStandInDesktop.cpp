#include "standin/desktop/NotificationServer.h"
#include "standin/desktop/ScreenReader.h"
#include "standin/desktop/StatusArea.h"
#include "standin/desktop/VirtualDisplay.h"
#include "support/Await.h"
#include "support/PrivateBus.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

#include <QDBusMessage>
#include <QDBusPendingCall>

using namespace Qt::StringLiterals;
using namespace orvanel::standin;
using orvanel::test::waitUntil;

namespace {

QDBusMessage toServer(const QString& method, const QVariantList& arguments) {
    auto message =
        QDBusMessage::createMethodCall(u"org.freedesktop.Notifications"_s, u"/org/freedesktop/Notifications"_s,
                                       u"org.freedesktop.Notifications"_s, method);
    message.setArguments(arguments);
    return message;
}

QVariantList notifyArguments(const QString& summary, uint replaces = 0) {
    return {u"Test"_s, replaces, QString(), summary, u"Body"_s, QStringList(), QVariantMap(), -1};
}

/// What a program on the bus gets. The server answers on this thread meanwhile.
QVariantList answerOf(QDBusConnection bus, const QDBusMessage& call) {
    const QDBusPendingCall pending = bus.asyncCall(call);
    if (!waitUntil([&] { return pending.isFinished(); }) || pending.isError()) {
        return {};
    }
    return pending.reply().arguments();
}

/// A program that hears the server's signals.
class Listener : public QObject {
    Q_OBJECT

public:
    explicit Listener(QDBusConnection bus) {
        const auto listen = [&](const char* name, const char* slot) {
            return bus.connect(u"org.freedesktop.Notifications"_s, u"/org/freedesktop/Notifications"_s,
                               u"org.freedesktop.Notifications"_s, QString::fromLatin1(name), this, slot);
        };
        if (!listen("NotificationClosed", SLOT(closed(uint, uint))) ||
            !listen("ActionInvoked", SLOT(invoked(uint, QString)))) {
            qFatal("the test cannot hear the server");
        }
    }

    QStringList heard;

    Q_SLOT void closed(uint id, uint reason) { heard += u"closed %1 %2"_s.arg(id).arg(reason); }
    Q_SLOT void invoked(uint id, const QString& action) { heard += u"invoked %1 %2"_s.arg(id).arg(action); }
};

} // namespace

class TestStandInDesktop : public QObject {
    Q_OBJECT

    orvanel::test::TestHome m_home;
    orvanel::test::PrivateBus m_bus;
    VirtualDisplay m_display;
    QProcess m_program;

    void startProgram() {
        auto environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"QT_QPA_PLATFORM"_s, u"xcb"_s);
        environment.insert(u"DISPLAY"_s, m_display.name());
        environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, m_bus.address());
        m_program.setProcessEnvironment(environment);
        m_program.setProcessChannelMode(QProcess::ForwardedChannels);
        m_program.start(QString::fromUtf8(TRAY_PROGRAM), QStringList());
    }

private Q_SLOTS:
    void cleanup() {
        m_program.kill();
        m_program.waitForFinished();
    }

    void readsTheItem() {
        StatusArea area(m_bus.connect());
        QVERIFY(area.open());
        startProgram();
        QVERIFY(waitUntil([&] { return area.item() && !area.item()->menu().entries().isEmpty(); }));

        const TrayItem& item = *area.item();
        QCOMPARE(item.toolTip(), u"At rest"_s);
        QCOMPARE(item.status(), u"Active"_s);
        QCOMPARE(item.icon(22).size(), QSize(22, 22));
        QCOMPARE(item.icon(24).size(), QSize(32, 32));
        QCOMPARE(item.icon(22).pixelColor(11, 11), QColor(Qt::gray));

        QStringList lines;
        for (const MenuEntry& entry : item.menu().entries()) {
            lines += entry.separator ? u"---"_s : entry.text;
        }
        QCOMPARE(lines, (QStringList{u"At rest"_s, u"---"_s, u"Go"_s, u"Under_score & more"_s, u"Quit"_s}));
        QVERIFY(!item.menu().find(u"At rest"_s)->enabled);
        QCOMPARE(item.menu().find(u"Quit"_s)->shortcut, u"Ctrl+Q"_s);
    }

    void pressesEntriesAndSeesWhatTheyDo() {
        StatusArea area(m_bus.connect());
        QVERIFY(area.open());
        startProgram();
        QVERIFY(waitUntil([&] { return area.item() && area.item()->menu().find(u"Go"_s); }));
        TrayItem& item = *area.item();
        TrayMenu& menu = item.menu();

        menu.open();
        QVERIFY(menu.isOpen());
        QVERIFY(!menu.press(menu.find(u"At rest"_s)->id));
        QVERIFY(menu.isOpen());
        QVERIFY(menu.press(menu.find(u"Go"_s)->id));
        QVERIFY(!menu.isOpen());
        QVERIFY(waitUntil([&] { return item.toolTip() == u"On the way"; }));
        QVERIFY(waitUntil([&] { return item.icon(22).pixelColor(11, 11) == QColor(Qt::green); }));
        QVERIFY(waitUntil([&] { return menu.find(u"On the way"_s).has_value(); }));
        QVERIFY(waitUntil([&] { return !menu.find(u"Go"_s)->enabled; }));

        QVERIFY(menu.press(menu.find(u"Quit"_s)->id));
        QVERIFY(waitUntil([&] { return !area.item(); }));
        QVERIFY(waitUntil([&] { return m_program.state() == QProcess::NotRunning; }));
        QCOMPARE(m_program.exitCode(), 7);
    }

    void programsRegisterAgainAfterThePanelCrashed() {
        StatusArea area(m_bus.connect());
        QVERIFY(area.open());
        startProgram();
        QVERIFY(waitUntil([&] { return area.item() != nullptr; }));
        area.close();
        QVERIFY(!area.item());
        QVERIFY(area.open());
        QVERIFY(waitUntil([&] { return area.item() != nullptr; }));
    }

    void readsWindowsAndPressesButtons() {
        ScreenReader reader(m_bus.connect());
        QVERIFY(reader.open(m_bus.address()));
        startProgram();
        const auto readUntil = [&](const auto& condition) {
            return waitUntil([&] {
                reader.refresh();
                return condition();
            });
        };
        QVERIFY(readUntil([&] { return reader.reads(u"Nothing yet"_s); }));
        const auto button = reader.find(u"push button"_s, u"Press me"_s);
        QVERIFY(button && button->enabled);
        const auto other = reader.find(u"push button"_s, u"Not for you"_s);
        QVERIFY(other && !other->enabled);
        QVERIFY(!reader.find(u"label"_s, u"Press me"_s));
        QVERIFY(!reader.reads(u"Pressed"_s));
        reader.press(*button);
        QVERIFY(readUntil([&] { return reader.reads(u"Pressed"_s); }));
        reader.forget();
        QVERIFY(!reader.reads(u"Pressed"_s));
    }

    void onlyOneDesktopHasTheNames() {
        StatusArea area(m_bus.connect());
        NotificationServer server(m_bus.connect());
        QVERIFY(area.open() && server.open());
        StatusArea secondArea(m_bus.connect());
        NotificationServer secondServer(m_bus.connect());
        QVERIFY(!secondArea.open());
        QVERIFY(!secondServer.open());
    }

    void keepsNotifications() {
        NotificationServer server(m_bus.connect());
        QVERIFY(server.open());
        const auto program = m_bus.connect();

        QCOMPARE(answerOf(program, toServer(u"Notify"_s, notifyArguments(u"One"_s))), QVariantList{1U});
        QCOMPARE(answerOf(program, toServer(u"Notify"_s, notifyArguments(u"Two"_s))), QVariantList{2U});
        QCOMPARE(answerOf(program, toServer(u"Notify"_s, notifyArguments(u"New one"_s, 1))), QVariantList{1U});
        QCOMPARE(server.all().size(), 2);
        QCOMPARE(server.all().last().summary, u"New one"_s);
        QCOMPARE(server.all().last().body, u"Body"_s);

        server.dismiss(1);
        QCOMPARE(server.shown().size(), 1);
        QCOMPARE(server.all().size(), 2);
        const auto capabilities = answerOf(program, toServer(u"GetCapabilities"_s, {}));
        QVERIFY(capabilities.value(0).toStringList().contains(u"body-markup"_s));
        QCOMPARE(answerOf(program, toServer(u"GetServerInformation"_s, {})).size(), 4);
    }

    void tellsWhyNotificationsWent() {
        NotificationServer server(m_bus.connect());
        QVERIFY(server.open());
        Listener listener(m_bus.connect());
        const uint first = server.take({0, {}, {}, u"First"_s, {}, {}, {}}, 0);
        const uint second = server.take({0, {}, {}, u"Second"_s, {}, {}, {}}, 0);

        answerOf(m_bus.connect(), toServer(u"CloseNotification"_s, {first}));
        QVERIFY(waitUntil([&] { return listener.heard == QStringList{u"closed 1 3"_s}; }));
        server.invoke(second, u"default"_s);
        QVERIFY(waitUntil([&] {
            return listener.heard == QStringList{u"closed 1 3"_s, u"invoked 2 default"_s, u"closed 2 2"_s};
        }));
    }
};

ORVANEL_TEST(TestStandInDesktop)
#include "TestStandInDesktop.moc"
