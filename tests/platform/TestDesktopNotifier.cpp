#include "platform/DesktopNotifier.h"
#include "support/Await.h"
#include "support/PrivateBus.h"
#include "support/TestClass.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const QString serverName = u"org.freedesktop.Notifications"_s;
const QString serverPath = u"/org/freedesktop/Notifications"_s;

struct Posted {
    QString application;
    uint replaces = 1;
    QString icon;
    QString summary;
    QString body;
    QStringList actions;
    QVariantMap hints;
    int timeout = 0;
};

/// Collects the program's warnings while this object lives.
class Warnings {
public:
    Warnings() {
        texts().clear();
        m_before = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
            if (type == QtWarningMsg) {
                texts() << text;
            }
        });
    }
    ~Warnings() { qInstallMessageHandler(m_before); }
    Warnings(const Warnings&) = delete;
    Warnings& operator=(const Warnings&) = delete;

    static QStringList& texts() {
        static QStringList list;
        return list;
    }

private:
    QtMessageHandler m_before;
};

} // namespace

class FakeNotificationServer : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    FakeNotificationServer(PrivateBus* bus, QStringList able)
        : capabilities(std::move(able))
        , connection(bus->connect())
        , m_bus(bus) {
        connection.registerObject(serverPath, this,
                                  QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportScriptableSignals);
        appear();
    }
    ~FakeNotificationServer() override { m_bus->disconnect(connection); }

    void appear() {
        if (!connection.registerService(serverName)) {
            qFatal("the name of the notification server is taken");
        }
    }
    void vanish() { connection.unregisterService(serverName); }
    /// Answers the question that the server left open.
    void answerLate() { connection.send(m_question.createReply(capabilities)); }

    QStringList capabilities;
    bool answers = true;
    int asked = 0;
    uint lastId = 40;
    QList<Posted> posted;
    QDBusConnection connection;

    Q_SCRIPTABLE Q_SLOT QStringList GetCapabilities() {
        ++asked;
        m_question = message();
        setDelayedReply(!answers);
        return capabilities;
    }

    Q_SCRIPTABLE Q_SLOT uint Notify(const QString& application, uint replaces, const QString& icon,
                                    const QString& summary, const QString& body, const QStringList& actions,
                                    const QVariantMap& hints, int timeout) {
        posted << Posted{application, replaces, icon, summary, body, actions, hints, timeout};
        setDelayedReply(!answers);
        return ++lastId;
    }

Q_SIGNALS:
    Q_SCRIPTABLE void ActivationToken(uint id, const QString& token);
    Q_SCRIPTABLE void ActionInvoked(uint id, const QString& action);
    Q_SCRIPTABLE void NotificationClosed(uint id, uint reason);

private:
    PrivateBus* const m_bus;
    QDBusMessage m_question;
};

namespace {

void postAndWait(DesktopNotifier& notifier, const FakeNotificationServer& server, const QString& title) {
    const auto count = server.posted.size() + 1;
    notifier.post(title, u"body"_s);
    QVERIFY(waitUntil([&] { return server.posted.size() >= count; }));
}

/// Waits until the notifier knows which id its last notification got: its answers come in order.
void settle(const FakeNotificationServer& server, const QDBusConnection& user) {
    const auto ping = QDBusMessage::createMethodCall(server.connection.baseService(), serverPath,
                                                     u"org.freedesktop.DBus.Peer"_s, u"Ping"_s);
    const auto call = user.asyncCall(ping);
    QVERIFY(waitUntil([&] { return call.isFinished(); }));
    drainEvents();
}

} // namespace

class TestDesktopNotifier : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void postsWhatTheServerNeeds() {
        PrivateBus bus;
        const FakeNotificationServer server(&bus, {u"body"_s});
        DesktopNotifier notifier(bus.connect());
        QVERIFY(notifier.mayPost());
        notifier.post(u"Web & <b>Mail</b> is down"_s, u"a < b & \"c\""_s);
        QVERIFY(waitUntil([&] { return server.posted.size() == 1; }));
        const Posted& posted = server.posted[0];
        QCOMPARE(posted.application, u"Orvanel"_s);
        QCOMPARE(posted.replaces, 0U);
        QCOMPARE(posted.icon, u"io.github.orvanel.Orvanel"_s);
        QCOMPARE(posted.summary, u"Web & <b>Mail</b> is down"_s);
        QCOMPARE(posted.body, u"a < b & \"c\""_s);
        QCOMPARE(posted.actions, QStringList());
        QCOMPARE(posted.timeout, -1);
        QCOMPARE(posted.hints.value(u"desktop-entry"_s).toString(), u"io.github.orvanel.Orvanel"_s);
        const QVariant urgency = posted.hints.value(u"urgency"_s);
        QCOMPARE(urgency.typeId(), int(QMetaType::UChar));
        QCOMPARE(urgency.toUInt(), 1U);
        QCOMPARE(posted.hints.value(u"sound-name"_s).toString(), u"message-new-instant"_s);
    }

    void longTitleIsCut() {
        PrivateBus bus;
        const FakeNotificationServer server(&bus, {u"body"_s});
        DesktopNotifier notifier(bus.connect());
        notifier.post(QString(1'000'000, u'x'), u"body"_s);
        QVERIFY(waitUntil([&] { return server.posted.size() == 1; }));
        QCOMPARE(server.posted[0].summary, QString(200, u'x') + u'…');
    }

    void bodyIsEscapedWhereItIsMarkup() {
        PrivateBus bus;
        const FakeNotificationServer server(&bus, {u"body"_s, u"body-markup"_s});
        DesktopNotifier notifier(bus.connect());
        notifier.post(u"a & b"_s, u"<i>a</i> & b"_s);
        QVERIFY(waitUntil([&] { return server.posted.size() == 1; }));
        QCOMPARE(server.posted[0].summary, u"a & b"_s);
        QCOMPARE(server.posted[0].body, u"&lt;i&gt;a&lt;/i&gt; &amp; b"_s);
    }

    void anyTextPasses() {
        PrivateBus bus;
        const FakeNotificationServer server(&bus, {});
        const auto connection = bus.connect();
        DesktopNotifier notifier(connection);
        notifier.post(u"half "_s + QChar(0xd83d) + u" null \0 noncharacter \uffff"_s, u"\U0001F43B\n\x01"_s);
        notifier.post(u"after"_s, u"body"_s);
        QVERIFY(waitUntil([&] { return server.posted.size() == 2; }));
        QVERIFY(connection.isConnected());
        QCOMPARE(server.posted[1].summary, u"after"_s);
        QVERIFY(server.posted[0].summary.startsWith(u"half "_s));
    }

    void capabilitiesAreAskedOnceForEachServer() {
        PrivateBus bus;
        FakeNotificationServer server(&bus, {});
        DesktopNotifier notifier(bus.connect());
        notifier.requestAuthorization();
        for (const char* title : {"first", "second", "third"}) {
            notifier.post(QString::fromLatin1(title), u"a&b"_s);
        }
        QVERIFY(waitUntil([&] { return server.posted.size() == 3; }));
        notifier.requestAuthorization();
        postAndWait(notifier, server, u"fourth"_s);
        QCOMPARE(server.asked, 1);
        QCOMPARE(server.posted[0].summary, u"first"_s);
        QCOMPARE(server.posted[1].summary, u"second"_s);
        QCOMPARE(server.posted[2].summary, u"third"_s);

        server.vanish();
        FakeNotificationServer other(&bus, {u"body-markup"_s});
        settle(other, other.connection);
        QVERIFY(waitUntil([&] {
            notifier.post(u"fifth"_s, u"a&b"_s);
            drainEvents();
            return !other.posted.isEmpty();
        }));
        QCOMPARE(other.asked, 1);
        QCOMPARE(other.posted.last().body, u"a&amp;b"_s);
        QCOMPARE(server.posted.size(), 4);
    }

    void laterServerIsAskedItself() {
        PrivateBus bus;
        FakeNotificationServer server(&bus, {});
        server.answers = false;
        DesktopNotifier notifier(bus.connect());
        notifier.post(u"first"_s, u"a&b"_s);
        QVERIFY(waitUntil([&] { return server.asked == 1; }));

        server.vanish();
        const FakeNotificationServer other(&bus, {u"body-markup"_s});
        server.answerLate();
        QVERIFY(waitUntil([&] { return !other.posted.isEmpty(); }));
        QCOMPARE(other.asked, 1);
        QCOMPARE(other.posted[0].body, u"a&amp;b"_s);
        QCOMPARE(server.posted.size(), 0);
    }

    void serverThatMustBeStartedIsAskedOnce() {
        PrivateBus bus;
        bus.letStart(serverName);
        const auto connection = bus.connect();
        DesktopNotifier notifier(connection);
        const QSignalSpy activated(&notifier, &DesktopNotifier::activated);
        notifier.post(u"first"_s, u"body"_s);
        QVERIFY(waitUntil([&] { return bus.hasStarted(serverName); }));

        FakeNotificationServer server(&bus, {u"actions"_s});
        QVERIFY(waitUntil([&] { return server.posted.size() == 1; }));
        QCOMPARE(server.asked, 1);
        settle(server, connection);
        Q_EMIT server.ActionInvoked(41, u"default"_s);
        QVERIFY(waitUntil([&] { return !activated.isEmpty(); }));
    }

    void clickActivatesWithTheToken() {
        PrivateBus bus;
        FakeNotificationServer server(&bus, {u"actions"_s});
        const auto connection = bus.connect();
        DesktopNotifier notifier(connection);
        const QSignalSpy activated(&notifier, &DesktopNotifier::activated);
        postAndWait(notifier, server, u"first"_s);
        postAndWait(notifier, server, u"second"_s);
        QCOMPARE(server.posted[0].actions.value(0), u"default"_s);
        settle(server, connection);

        Q_EMIT server.ActivationToken(7, u"not ours"_s);
        Q_EMIT server.ActionInvoked(7, u"default"_s);
        Q_EMIT server.ActionInvoked(41, u"other-action"_s);
        Q_EMIT server.ActivationToken(41, u"token"_s);
        Q_EMIT server.ActionInvoked(41, u"default"_s);
        Q_EMIT server.ActionInvoked(42, u"default"_s);
        QVERIFY(waitUntil([&] { return activated.size() == 2; }));
        QCOMPARE(activated[0][0].toString(), u"token"_s);
        QCOMPARE(activated[1][0].toString(), QString());
    }

    void closedNotificationIsForgotten() {
        PrivateBus bus;
        FakeNotificationServer server(&bus, {u"actions"_s});
        const auto connection = bus.connect();
        DesktopNotifier notifier(connection);
        const QSignalSpy activated(&notifier, &DesktopNotifier::activated);
        postAndWait(notifier, server, u"first"_s);
        postAndWait(notifier, server, u"second"_s);
        settle(server, connection);
        Q_EMIT server.NotificationClosed(41, 2);
        Q_EMIT server.ActivationToken(41, u"late"_s);
        Q_EMIT server.ActionInvoked(41, u"default"_s);
        Q_EMIT server.ActivationToken(42, u"token"_s);
        Q_EMIT server.ActionInvoked(42, u"default"_s);
        QVERIFY(waitUntil([&] { return !activated.isEmpty(); }));
        QCOMPARE(activated.size(), 1);
        QCOMPARE(activated[0][0].toString(), u"token"_s);
    }

    void signalsOfOthersAreIgnored() {
        PrivateBus bus;
        FakeNotificationServer server(&bus, {u"actions"_s});
        const auto connection = bus.connect();
        DesktopNotifier notifier(connection);
        const QSignalSpy activated(&notifier, &DesktopNotifier::activated);
        postAndWait(notifier, server, u"first"_s);
        settle(server, connection);
        const auto stranger = bus.connect();
        auto forged = QDBusMessage::createSignal(serverPath, serverName, u"ActionInvoked"_s);
        forged.setArguments({41U, u"default"_s});
        QVERIFY(stranger.send(forged));
        settle(server, stranger);
        Q_EMIT server.ActivationToken(41, u"token"_s);
        Q_EMIT server.ActionInvoked(41, u"default"_s);
        QVERIFY(waitUntil([&] { return !activated.isEmpty(); }));
        QCOMPARE(activated.size(), 1);
        QCOMPARE(activated[0][0].toString(), u"token"_s);
    }

    void silentServerCostsOneLine() {
        PrivateBus bus;
        FakeNotificationServer server(&bus, {});
        server.answers = false;
        const Warnings warnings;
        DesktopNotifier notifier(bus.connect(), 20ms);
        notifier.post(u"first"_s, u"body"_s);
        notifier.post(u"second"_s, u"body"_s);
        QVERIFY(waitUntil([&] { return server.posted.size() == 2 && !Warnings::texts().isEmpty(); }));
        // When the server answers again, everything works as before.
        server.answers = true;
        const int asked = server.asked;
        postAndWait(notifier, server, u"third"_s);
        QVERIFY(server.asked > asked);
        QCOMPARE(Warnings::texts().size(), 1);
    }

    void withoutServerOneLineAndThenSilence() {
        PrivateBus bus;
        const auto connection = bus.connect();
        const Warnings warnings;
        DesktopNotifier notifier(connection);
        QVERIFY(notifier.mayPost());
        notifier.post(u"first"_s, u"body"_s);
        QVERIFY(waitUntil([] { return !Warnings::texts().isEmpty(); }));
        for (int i = 0; i < 5; ++i) {
            notifier.post(u"more"_s, u"body"_s);
            drainEvents();
        }
        // A server that comes later gets new notifications, but none from before.
        FakeNotificationServer server(&bus, {});
        settle(server, connection);
        const auto before = server.posted.size();
        postAndWait(notifier, server, u"now"_s);
        QCOMPARE(server.posted.size(), before + 1);
        QCOMPARE(server.posted.last().summary, u"now"_s);
        QCOMPARE(Warnings::texts().size(), 1);
    }

    void withoutBusNothingHappens() {
        const auto none = PrivateBus::none();
        const Warnings warnings;
        DesktopNotifier notifier(none);
        QVERIFY(!notifier.mayPost());
        notifier.requestAuthorization();
        notifier.post(u"title"_s, u"body"_s);
        drainEvents();
        QCOMPARE(Warnings::texts(), QStringList());
    }

    void busThatEndsIsNoBus() {
        PrivateBus bus;
        const FakeNotificationServer server(&bus, {});
        DesktopNotifier notifier(bus.connect());
        postAndWait(notifier, server, u"first"_s);
        bus.stop();
        QVERIFY(waitUntil([&] { return !notifier.mayPost(); }));
        notifier.post(u"second"_s, u"body"_s);
        drainEvents();
        QCOMPARE(server.posted.size(), 1);
    }

    void mayEndWhileWaiting() {
        PrivateBus bus;
        FakeNotificationServer server(&bus, {});
        server.answers = false;
        {
            DesktopNotifier notifier(bus.connect());
            notifier.post(u"first"_s, u"body"_s);
            QVERIFY(waitUntil([&] { return server.asked == 1; }));
        }
        drainEvents();
        QCOMPARE(server.posted.size(), 0);
    }
};

ORVANEL_TEST(TestDesktopNotifier)
#include "TestDesktopNotifier.moc"
