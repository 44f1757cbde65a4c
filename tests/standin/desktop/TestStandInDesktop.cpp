#include "standin/desktop/NotificationServer.h"
#include "standin/desktop/ScreenReader.h"
#include "standin/desktop/StatusArea.h"
#include "standin/desktop/VirtualDisplay.h"
#include "support/Await.h"
#include "support/PrivateBus.h"
#include "support/TestHome.h"

#include <QDBusMessage>
#include <QDBusPendingCall>

using namespace orvanel::standin;
using orvanel::test::waitUntil;

namespace {

QDBusMessage toServer(const QString& method, const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.Notifications"),
                                                  QStringLiteral("/org/freedesktop/Notifications"),
                                                  QStringLiteral("org.freedesktop.Notifications"), method);
    message.setArguments(arguments);
    return message;
}

QVariantList notifyArguments(const QString& summary, uint replaces = 0) {
    return {QStringLiteral("Test"), replaces,      QString(),     summary,
            QStringLiteral("Body"), QStringList(), QVariantMap(), -1};
}

/// What a program on the bus gets; the server answers on this thread meanwhile.
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
            return bus.connect(QStringLiteral("org.freedesktop.Notifications"),
                               QStringLiteral("/org/freedesktop/Notifications"),
                               QStringLiteral("org.freedesktop.Notifications"), QString::fromLatin1(name), this, slot);
        };
        if (!listen("NotificationClosed", SLOT(closed(uint, uint))) ||
            !listen("ActionInvoked", SLOT(invoked(uint, QString)))) {
            qFatal("the test cannot hear the server");
        }
    }

    QStringList heard;

    Q_SLOT void closed(uint id, uint reason) { heard += QStringLiteral("closed %1 %2").arg(id).arg(reason); }
    Q_SLOT void invoked(uint id, const QString& action) {
        heard += QStringLiteral("invoked %1 %2").arg(id).arg(action);
    }
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
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
        environment.insert(QStringLiteral("DISPLAY"), m_display.name());
        environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), m_bus.address());
        m_program.setProcessEnvironment(environment);
        m_program.setProcessChannelMode(QProcess::ForwardedChannels);
        m_program.start(QStringLiteral(TRAY_PROGRAM), QStringList());
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
        QCOMPARE(item.toolTip(), QStringLiteral("At rest"));
        QCOMPARE(item.status(), QStringLiteral("Active"));
        QCOMPARE(item.icon(22).size(), QSize(22, 22));
        QCOMPARE(item.icon(24).size(), QSize(32, 32));
        QCOMPARE(item.icon(22).pixelColor(11, 11), QColor(Qt::gray));

        QStringList lines;
        for (const MenuEntry& entry : item.menu().entries()) {
            lines += entry.separator ? QStringLiteral("---") : entry.text;
        }
        QCOMPARE(lines, (QStringList{QStringLiteral("At rest"), QStringLiteral("---"), QStringLiteral("Go"),
                                     QStringLiteral("Under_score & more"), QStringLiteral("Quit")}));
        QVERIFY(!item.menu().find(QStringLiteral("At rest"))->enabled);
        QCOMPARE(item.menu().find(QStringLiteral("Quit"))->shortcut, QStringLiteral("Ctrl+Q"));
    }

    void pressesEntriesAndSeesWhatTheyDo() {
        StatusArea area(m_bus.connect());
        QVERIFY(area.open());
        startProgram();
        QVERIFY(waitUntil([&] { return area.item() && area.item()->menu().find(QStringLiteral("Go")); }));
        TrayItem& item = *area.item();
        TrayMenu& menu = item.menu();

        menu.open();
        QVERIFY(menu.isOpen());
        QVERIFY(!menu.press(menu.find(QStringLiteral("At rest"))->id));
        QVERIFY(menu.isOpen());
        QVERIFY(menu.press(menu.find(QStringLiteral("Go"))->id));
        QVERIFY(!menu.isOpen());
        QVERIFY(waitUntil([&] { return item.toolTip() == u"On the way"; }));
        QVERIFY(waitUntil([&] { return item.icon(22).pixelColor(11, 11) == QColor(Qt::green); }));
        QVERIFY(waitUntil([&] { return menu.find(QStringLiteral("On the way")).has_value(); }));
        QVERIFY(waitUntil([&] { return !menu.find(QStringLiteral("Go"))->enabled; }));

        QVERIFY(menu.press(menu.find(QStringLiteral("Quit"))->id));
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
        QVERIFY(readUntil([&] { return reader.reads(QStringLiteral("Nothing yet")); }));
        const auto button = reader.find(QStringLiteral("push button"), QStringLiteral("Press me"));
        QVERIFY(button && button->enabled);
        const auto other = reader.find(QStringLiteral("push button"), QStringLiteral("Not for you"));
        QVERIFY(other && !other->enabled);
        QVERIFY(!reader.find(QStringLiteral("label"), QStringLiteral("Press me")));
        QVERIFY(!reader.reads(QStringLiteral("Pressed")));
        reader.press(*button);
        QVERIFY(readUntil([&] { return reader.reads(QStringLiteral("Pressed")); }));
        reader.forget();
        QVERIFY(!reader.reads(QStringLiteral("Pressed")));
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

        QCOMPARE(answerOf(program, toServer(QStringLiteral("Notify"), notifyArguments(QStringLiteral("One")))),
                 QVariantList{1U});
        QCOMPARE(answerOf(program, toServer(QStringLiteral("Notify"), notifyArguments(QStringLiteral("Two")))),
                 QVariantList{2U});
        QCOMPARE(answerOf(program, toServer(QStringLiteral("Notify"), notifyArguments(QStringLiteral("New one"), 1))),
                 QVariantList{1U});
        QCOMPARE(server.all().size(), 2);
        QCOMPARE(server.all().last().summary, QStringLiteral("New one"));
        QCOMPARE(server.all().last().body, QStringLiteral("Body"));

        server.dismiss(1);
        QCOMPARE(server.shown().size(), 1);
        QCOMPARE(server.all().size(), 2);
        const auto capabilities = answerOf(program, toServer(QStringLiteral("GetCapabilities"), {}));
        QVERIFY(capabilities.value(0).toStringList().contains(QStringLiteral("body-markup")));
        QCOMPARE(answerOf(program, toServer(QStringLiteral("GetServerInformation"), {})).size(), 4);
    }

    void tellsWhyNotificationsWent() {
        NotificationServer server(m_bus.connect());
        QVERIFY(server.open());
        Listener listener(m_bus.connect());
        const uint first = server.take({0, {}, {}, QStringLiteral("First"), {}, {}, {}}, 0);
        const uint second = server.take({0, {}, {}, QStringLiteral("Second"), {}, {}, {}}, 0);

        answerOf(m_bus.connect(), toServer(QStringLiteral("CloseNotification"), {first}));
        QVERIFY(waitUntil([&] { return listener.heard == QStringList{QStringLiteral("closed 1 3")}; }));
        server.invoke(second, QStringLiteral("default"));
        QVERIFY(waitUntil([&] {
            return listener.heard == QStringList{QStringLiteral("closed 1 3"), QStringLiteral("invoked 2 default"),
                                                 QStringLiteral("closed 2 2")};
        }));
    }
};

QTEST_GUILESS_MAIN(TestStandInDesktop)
#include "TestStandInDesktop.moc"
