#include "platform/TrayHostWatcher.h"
#include "support/Await.h"
#include "support/PrivateBus.h"
#include "support/TestClass.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

const QString watcherName = u"org.kde.StatusNotifierWatcher"_s;
const QString watcherPath = u"/StatusNotifierWatcher"_s;

} // namespace

/// The part of a panel that keeps the lists of status icons and of the panels that show them.
class FakePanel : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)

public:
    FakePanel(PrivateBus* bus, bool host)
        : m_bus(bus)
        , m_connection(bus->connect())
        , m_hasHost(host) {
        if (!m_connection.registerObject(
                watcherPath, this, QDBusConnection::ExportAllProperties | QDBusConnection::ExportScriptableSignals) ||
            !m_connection.registerService(watcherName)) {
            qFatal("the panel could not take its place on the bus");
        }
    }
    ~FakePanel() override { m_bus->disconnect(m_connection); }

    bool hasHost() const {
        ++asked;
        return m_hasHost;
    }

    void setHost(bool host) {
        m_hasHost = host;
        if (host) {
            Q_EMIT StatusNotifierHostRegistered();
        } else {
            Q_EMIT StatusNotifierHostUnregistered();
        }
    }

    /// Announces the change only as a change of the property, as some panels do.
    void setHostAsProperty(bool host) {
        m_hasHost = host;
        auto signal =
            QDBusMessage::createSignal(watcherPath, u"org.freedesktop.DBus.Properties"_s, u"PropertiesChanged"_s);
        const QVariantMap changed{{u"IsStatusNotifierHostRegistered"_s, host}};
        signal.setArguments({watcherName, changed, QStringList()});
        m_connection.send(signal);
    }

    mutable int asked = 0;

Q_SIGNALS:
    Q_SCRIPTABLE void StatusNotifierHostRegistered();
    Q_SCRIPTABLE void StatusNotifierHostUnregistered();

private:
    PrivateBus* const m_bus;
    QDBusConnection m_connection;
    bool m_hasHost;
};

class TestTrayHostWatcher : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void hostIsThereAtTheStart() {
        PrivateBus bus;
        const FakePanel panel(&bus, true);
        const TrayHostWatcher watcher(bus.connect());
        const QSignalSpy changes(&watcher, &TrayHostWatcher::hostAvailableChanged);
        QVERIFY(!watcher.hostAvailable());
        QVERIFY(waitUntil([&] { return watcher.hostAvailable(); }));
        QCOMPARE(changes.size(), 1);
        QCOMPARE(changes[0][0].toBool(), true);
    }

    void hostComesAndGoes() {
        PrivateBus bus;
        FakePanel panel(&bus, false);
        const TrayHostWatcher watcher(bus.connect());
        QVERIFY(waitUntil([&] { return panel.asked == 1; }));
        drainEvents();
        QVERIFY(!watcher.hostAvailable());
        panel.setHost(true);
        QVERIFY(waitUntil([&] { return watcher.hostAvailable(); }));
        panel.setHost(false);
        QVERIFY(waitUntil([&] { return !watcher.hostAvailable(); }));
        panel.setHostAsProperty(true);
        QVERIFY(waitUntil([&] { return watcher.hostAvailable(); }));
        panel.setHostAsProperty(false);
        QVERIFY(waitUntil([&] { return !watcher.hostAvailable(); }));
    }

    void panelComesLateAndRestarts() {
        PrivateBus bus;
        const TrayHostWatcher watcher(bus.connect());
        const QSignalSpy changes(&watcher, &TrayHostWatcher::hostAvailableChanged);
        for (int round = 0; round < 3; ++round) {
            {
                const FakePanel panel(&bus, true);
                QVERIFY(waitUntil([&] { return watcher.hostAvailable(); }));
            }
            QVERIFY(waitUntil([&] { return !watcher.hostAvailable(); }));
        }
        QCOMPARE(changes.size(), 6);
    }

    void panelWithoutHostWaitsForOne() {
        PrivateBus bus;
        const TrayHostWatcher watcher(bus.connect());
        const QSignalSpy changes(&watcher, &TrayHostWatcher::hostAvailableChanged);
        FakePanel panel(&bus, false);
        QVERIFY(waitUntil([&] { return panel.asked >= 1; }));
        drainEvents();
        QCOMPARE(changes.size(), 0);
        panel.setHost(true);
        QVERIFY(waitUntil([&] { return watcher.hostAvailable(); }));
    }

    void sameNewsIsNoChange() {
        PrivateBus bus;
        FakePanel panel(&bus, true);
        const TrayHostWatcher watcher(bus.connect());
        const QSignalSpy changes(&watcher, &TrayHostWatcher::hostAvailableChanged);
        QVERIFY(waitUntil([&] { return watcher.hostAvailable(); }));
        const int asked = panel.asked;
        panel.setHost(true);
        panel.setHost(true);
        QVERIFY(waitUntil([&] { return panel.asked == asked + 2; }));
        drainEvents();
        QCOMPARE(changes.size(), 1);
    }

    void strangerOnThePathIsNoPanel() {
        PrivateBus bus;
        const TrayHostWatcher watcher(bus.connect());
        auto stranger = bus.connect();
        QVERIFY(stranger.send(QDBusMessage::createSignal(watcherPath, watcherName, u"StatusNotifierHostRegistered"_s)));
        const FakePanel panel(&bus, false);
        QVERIFY(waitUntil([&] { return panel.asked >= 1; }));
        drainEvents();
        QVERIFY(!watcher.hostAvailable());
    }

    void withoutBusThereIsNoHost() {
        const TrayHostWatcher watcher(PrivateBus::none());
        drainEvents();
        QVERIFY(!watcher.hostAvailable());
    }

    void busThatEndsTakesTheHostAlong() {
        PrivateBus bus;
        const FakePanel panel(&bus, true);
        const TrayHostWatcher watcher(bus.connect());
        QVERIFY(waitUntil([&] { return watcher.hostAvailable(); }));
        bus.stop();
        QVERIFY(waitUntil([&] { return !watcher.hostAvailable(); }));
    }
};

ORVANEL_TEST(TestTrayHostWatcher)
#include "TestTrayHostWatcher.moc"
