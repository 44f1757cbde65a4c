#include "platform/DesktopNotifier.h"
#include "support/Await.h"
#include "support/PrivateBus.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QSignalSpy>
#include <QTest>

using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const QString serverName = QStringLiteral("org.freedesktop.Notifications");
const QString serverPath = QStringLiteral("/org/freedesktop/Notifications");

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

/// The warnings that the program gave since this object was made.
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
    /// Answers the question that it left open.
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
    notifier.post(title, QStringLiteral("body"));
    QVERIFY(waitUntil([&] { return server.posted.size() >= count; }));
}

/// Waits until the notifier knows which id its last notification got: its answers come in order.
void settle(const FakeNotificationServer& server, const QDBusConnection& user) {
    const auto ping =
        QDBusMessage::createMethodCall(server.connection.baseService(), serverPath,
                                       QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"));
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
        const FakeNotificationServer server(&bus, {QStringLiteral("body")});
        DesktopNotifier notifier(bus.connect());
        QVERIFY(notifier.mayPost());
        notifier.post(QStringLiteral("Web & <b>Mail</b> is down"), QStringLiteral("a < b & \"c\""));
        QVERIFY(waitUntil([&] { return server.posted.size() == 1; }));
        const Posted& posted = server.posted[0];
        QCOMPARE(posted.application, QStringLiteral("Orvanel"));
        QCOMPARE(posted.replaces, 0U);
        QCOMPARE(posted.icon, QStringLiteral("io.github.orvanel.Orvanel"));
        QCOMPARE(posted.summary, QStringLiteral("Web & <b>Mail</b> is down"));
        QCOMPARE(posted.body, QStringLiteral("a < b & \"c\""));
        QCOMPARE(posted.actions, QStringList());
        QCOMPARE(posted.timeout, -1);
        QCOMPARE(posted.hints.value(QStringLiteral("desktop-entry")).toString(),
                 QStringLiteral("io.github.orvanel.Orvanel"));
        const QVariant urgency = posted.hints.value(QStringLiteral("urgency"));
        QCOMPARE(urgency.typeId(), int(QMetaType::UChar));
        QCOMPARE(urgency.toUInt(), 1U);
        QCOMPARE(posted.hints.value(QStringLiteral("sound-name")).toString(), QStringLiteral("message-new-instant"));
    }

    void longTitleIsCut() {
        PrivateBus bus;
        const FakeNotificationServer server(&bus, {QStringLiteral("body")});
        DesktopNotifier notifier(bus.connect());
        notifier.post(QString(1'000'000, u'x'), QStringLiteral("body"));
        QVERIFY(waitUntil([&] { return server.posted.size() == 1; }));
        QCOMPARE(server.posted[0].summary, QString(200, u'x') + u'…');
    }

    void bodyIsEscapedWhereItIsMarkup() {
        PrivateBus bus;
        const FakeNotificationServer server(&bus, {QStringLiteral("body"), QStringLiteral("body-markup")});
        DesktopNotifier notifier(bus.connect());
        notifier.post(QStringLiteral("a & b"), QStringLiteral("<i>a</i> & b"));
        QVERIFY(waitUntil([&] { return server.posted.size() == 1; }));
        QCOMPARE(server.posted[0].summary, QStringLiteral("a & b"));
        QCOMPARE(server.posted[0].body, QStringLiteral("&lt;i&gt;a&lt;/i&gt; &amp; b"));
    }

    void anyTextPasses() {
        PrivateBus bus;
        const FakeNotificationServer server(&bus, {});
        const auto connection = bus.connect();
        DesktopNotifier notifier(connection);
        notifier.post(QStringLiteral("half ") + QChar(0xd83d) + QStringLiteral(" null \0 noncharacter \uffff"),
                      QStringLiteral("\U0001F43B\n\x01"));
        notifier.post(QStringLiteral("after"), QStringLiteral("body"));
        QVERIFY(waitUntil([&] { return server.posted.size() == 2; }));
        QVERIFY(connection.isConnected());
        QCOMPARE(server.posted[1].summary, QStringLiteral("after"));
        QVERIFY(server.posted[0].summary.startsWith(QStringLiteral("half ")));
    }

    void capabilitiesAreAskedOnceForEachServer() {
        PrivateBus bus;
        FakeNotificationServer server(&bus, {});
        DesktopNotifier notifier(bus.connect());
        notifier.requestAuthorization();
        for (const char* title : {"first", "second", "third"}) {
            notifier.post(QString::fromLatin1(title), QStringLiteral("a&b"));
        }
        QVERIFY(waitUntil([&] { return server.posted.size() == 3; }));
        notifier.requestAuthorization();
        postAndWait(notifier, server, QStringLiteral("fourth"));
        QCOMPARE(server.asked, 1);
        QCOMPARE(server.posted[0].summary, QStringLiteral("first"));
        QCOMPARE(server.posted[1].summary, QStringLiteral("second"));
        QCOMPARE(server.posted[2].summary, QStringLiteral("third"));

        server.vanish();
        FakeNotificationServer other(&bus, {QStringLiteral("body-markup")});
        settle(other, other.connection);
        QVERIFY(waitUntil([&] {
            notifier.post(QStringLiteral("fifth"), QStringLiteral("a&b"));
            drainEvents();
            return !other.posted.isEmpty();
        }));
        QCOMPARE(other.asked, 1);
        QCOMPARE(other.posted.last().body, QStringLiteral("a&amp;b"));
        QCOMPARE(server.posted.size(), 4);
    }

    void laterServerIsAskedItself() {
        PrivateBus bus;
        FakeNotificationServer server(&bus, {});
        server.answers = false;
        DesktopNotifier notifier(bus.connect());
        notifier.post(QStringLiteral("first"), QStringLiteral("a&b"));
        QVERIFY(waitUntil([&] { return server.asked == 1; }));

        server.vanish();
        const FakeNotificationServer other(&bus, {QStringLiteral("body-markup")});
        server.answerLate();
        QVERIFY(waitUntil([&] { return !other.posted.isEmpty(); }));
        QCOMPARE(other.asked, 1);
        QCOMPARE(other.posted[0].body, QStringLiteral("a&amp;b"));
        QCOMPARE(server.posted.size(), 0);
    }

    void serverThatMustBeStartedIsAskedOnce() {
        PrivateBus bus;
        bus.letStart(serverName);
        const auto connection = bus.connect();
        DesktopNotifier notifier(connection);
        const QSignalSpy activated(&notifier, &DesktopNotifier::activated);
        notifier.post(QStringLiteral("first"), QStringLiteral("body"));
        QVERIFY(waitUntil([&] { return bus.hasStarted(serverName); }));

        FakeNotificationServer server(&bus, {QStringLiteral("actions")});
        QVERIFY(waitUntil([&] { return server.posted.size() == 1; }));
        QCOMPARE(server.asked, 1);
        settle(server, connection);
        Q_EMIT server.ActionInvoked(41, QStringLiteral("default"));
        QVERIFY(waitUntil([&] { return !activated.isEmpty(); }));
    }

    void clickActivatesWithTheToken() {
        PrivateBus bus;
        FakeNotificationServer server(&bus, {QStringLiteral("actions")});
        const auto connection = bus.connect();
        DesktopNotifier notifier(connection);
        const QSignalSpy activated(&notifier, &DesktopNotifier::activated);
        postAndWait(notifier, server, QStringLiteral("first"));
        postAndWait(notifier, server, QStringLiteral("second"));
        QCOMPARE(server.posted[0].actions.value(0), QStringLiteral("default"));
        settle(server, connection);

        Q_EMIT server.ActivationToken(7, QStringLiteral("not ours"));
        Q_EMIT server.ActionInvoked(7, QStringLiteral("default"));
        Q_EMIT server.ActionInvoked(41, QStringLiteral("other-action"));
        Q_EMIT server.ActivationToken(41, QStringLiteral("token"));
        Q_EMIT server.ActionInvoked(41, QStringLiteral("default"));
        Q_EMIT server.ActionInvoked(42, QStringLiteral("default"));
        QVERIFY(waitUntil([&] { return activated.size() == 2; }));
        QCOMPARE(activated[0][0].toString(), QStringLiteral("token"));
        QCOMPARE(activated[1][0].toString(), QString());
    }

    void closedNotificationIsForgotten() {
        PrivateBus bus;
        FakeNotificationServer server(&bus, {QStringLiteral("actions")});
        const auto connection = bus.connect();
        DesktopNotifier notifier(connection);
        const QSignalSpy activated(&notifier, &DesktopNotifier::activated);
        postAndWait(notifier, server, QStringLiteral("first"));
        postAndWait(notifier, server, QStringLiteral("second"));
        settle(server, connection);
        Q_EMIT server.NotificationClosed(41, 2);
        Q_EMIT server.ActivationToken(41, QStringLiteral("late"));
        Q_EMIT server.ActionInvoked(41, QStringLiteral("default"));
        Q_EMIT server.ActivationToken(42, QStringLiteral("token"));
        Q_EMIT server.ActionInvoked(42, QStringLiteral("default"));
        QVERIFY(waitUntil([&] { return !activated.isEmpty(); }));
        QCOMPARE(activated.size(), 1);
        QCOMPARE(activated[0][0].toString(), QStringLiteral("token"));
    }

    void signalsOfOthersAreIgnored() {
        PrivateBus bus;
        FakeNotificationServer server(&bus, {QStringLiteral("actions")});
        const auto connection = bus.connect();
        DesktopNotifier notifier(connection);
        const QSignalSpy activated(&notifier, &DesktopNotifier::activated);
        postAndWait(notifier, server, QStringLiteral("first"));
        settle(server, connection);
        const auto stranger = bus.connect();
        auto forged = QDBusMessage::createSignal(serverPath, serverName, QStringLiteral("ActionInvoked"));
        forged.setArguments({41U, QStringLiteral("default")});
        QVERIFY(stranger.send(forged));
        settle(server, stranger);
        Q_EMIT server.ActivationToken(41, QStringLiteral("token"));
        Q_EMIT server.ActionInvoked(41, QStringLiteral("default"));
        QVERIFY(waitUntil([&] { return !activated.isEmpty(); }));
        QCOMPARE(activated.size(), 1);
        QCOMPARE(activated[0][0].toString(), QStringLiteral("token"));
    }

    void silentServerCostsOneLine() {
        PrivateBus bus;
        FakeNotificationServer server(&bus, {});
        server.answers = false;
        const Warnings warnings;
        DesktopNotifier notifier(bus.connect(), 20ms);
        notifier.post(QStringLiteral("first"), QStringLiteral("body"));
        notifier.post(QStringLiteral("second"), QStringLiteral("body"));
        QVERIFY(waitUntil([&] { return server.posted.size() == 2 && !Warnings::texts().isEmpty(); }));
        // It answers again: everything goes on.
        server.answers = true;
        const int asked = server.asked;
        postAndWait(notifier, server, QStringLiteral("third"));
        QVERIFY(server.asked > asked);
        QCOMPARE(Warnings::texts().size(), 1);
    }

    void withoutServerOneLineAndThenSilence() {
        PrivateBus bus;
        const auto connection = bus.connect();
        const Warnings warnings;
        DesktopNotifier notifier(connection);
        QVERIFY(notifier.mayPost());
        notifier.post(QStringLiteral("first"), QStringLiteral("body"));
        QVERIFY(waitUntil([] { return !Warnings::texts().isEmpty(); }));
        for (int i = 0; i < 5; ++i) {
            notifier.post(QStringLiteral("more"), QStringLiteral("body"));
            drainEvents();
        }
        // One comes late: the news of now reaches it, the news of then does not.
        FakeNotificationServer server(&bus, {});
        settle(server, connection);
        const auto before = server.posted.size();
        postAndWait(notifier, server, QStringLiteral("now"));
        QCOMPARE(server.posted.size(), before + 1);
        QCOMPARE(server.posted.last().summary, QStringLiteral("now"));
        QCOMPARE(Warnings::texts().size(), 1);
    }

    void withoutBusNothingHappens() {
        const auto none = PrivateBus::none();
        const Warnings warnings;
        DesktopNotifier notifier(none);
        QVERIFY(!notifier.mayPost());
        notifier.requestAuthorization();
        notifier.post(QStringLiteral("title"), QStringLiteral("body"));
        drainEvents();
        QCOMPARE(Warnings::texts(), QStringList());
    }

    void busThatEndsIsNoBus() {
        PrivateBus bus;
        const FakeNotificationServer server(&bus, {});
        DesktopNotifier notifier(bus.connect());
        postAndWait(notifier, server, QStringLiteral("first"));
        bus.stop();
        QVERIFY(waitUntil([&] { return !notifier.mayPost(); }));
        notifier.post(QStringLiteral("second"), QStringLiteral("body"));
        drainEvents();
        QCOMPARE(server.posted.size(), 1);
    }

    void mayEndWhileWaiting() {
        PrivateBus bus;
        FakeNotificationServer server(&bus, {});
        server.answers = false;
        {
            DesktopNotifier notifier(bus.connect());
            notifier.post(QStringLiteral("first"), QStringLiteral("body"));
            QVERIFY(waitUntil([&] { return server.asked == 1; }));
        }
        drainEvents();
        QCOMPARE(server.posted.size(), 0);
    }
};

QTEST_GUILESS_MAIN(TestDesktopNotifier)
#include "TestDesktopNotifier.moc"
