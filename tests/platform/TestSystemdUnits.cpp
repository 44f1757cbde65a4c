#include "platform/SystemdUnits.h"
#include "support/Await.h"
#include "support/PrivateBus.h"
#include "support/TestClass.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QMap>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const QString managerPath = u"/org/freedesktop/systemd1"_s;
const ServiceUnit docker{u"docker.service"_s, ServiceUnit::Manager::system};
const ServiceUnit rootless{u"docker.service"_s, ServiceUnit::Manager::user};

/// A service manager on a bus of the test's own.
class FakeSystemd final : public QDBusVirtualObject {
public:
    explicit FakeSystemd(PrivateBus* bus)
        : m_connection(bus->connect()) {
        if (!m_connection.registerVirtualObject(managerPath, this, QDBusConnection::SubPath) ||
            !m_connection.registerService(u"org.freedesktop.systemd1"_s)) {
            qFatal("systemd could not take its place on the bus");
        }
    }

    /// By name. Any other is answered as the real one answers what has no file.
    QMap<QString, UnitState> units;
    /// What StartUnit fails with; empty where it does not.
    QString refusal;
    bool hangs = false;
    QStringList started;
    bool wasInteractive = false;

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() == u"StartUnit"_s) {
            started << message.arguments().value(0).toString() + u' ' + message.arguments().value(1).toString();
            wasInteractive = message.isInteractiveAuthorizationAllowed();
        }
        if (!hangs) {
            connection.send(answer(message));
        }
        return true;
    }

private:
    QDBusMessage answer(const QDBusMessage& message) const {
        if (message.member() == u"LoadUnit"_s) {
            const QString name = message.arguments().value(0).toString().replace(u'.', u'_');
            return message.createReply(QVariant::fromValue(QDBusObjectPath(managerPath + u"/unit/"_s + name)));
        }
        if (message.member() == u"StartUnit"_s) {
            return refusal.isEmpty()
                       ? message.createReply(QVariant::fromValue(QDBusObjectPath(managerPath + u"/job/1"_s)))
                       : message.createErrorReply(refusal, u"why"_s);
        }
        const QString name = message.path().section(u'/', -1).replace(u'_', u'.');
        const UnitState state = units.value(name, {u"not-found"_s, u"inactive"_s});
        QVariantMap properties;
        if (message.arguments().value(0).toString() == u"org.freedesktop.systemd1.Unit"_s) {
            properties = {{u"LoadState"_s, state.load}, {u"ActiveState"_s, state.active}};
        } else {
            properties = {{u"Result"_s, state.result}};
        }
        return message.createReply(QVariant(properties));
    }

    QDBusConnection m_connection;
};

struct World {
    PrivateBus systemBus;
    PrivateBus userBus;
    FakeSystemd system{&systemBus};
    FakeSystemd user{&userBus};
    QDBusConnection toSystem = systemBus.connect();
    QDBusConnection toUser = userBus.connect();
    SystemdUnits units{[this] { return toSystem; }, [this] { return toUser; }, 2s};
};

} // namespace

class TestSystemdUnits : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void tellsTheState_data() {
        QTest::addColumn<UnitState>("state");
        QTest::newRow("stopped") << UnitState{u"loaded"_s, u"inactive"_s};
        QTest::newRow("running") << UnitState{u"loaded"_s, u"active"_s};
        QTest::newRow("coming up") << UnitState{u"loaded"_s, u"activating"_s};
        QTest::newRow("masked") << UnitState{u"masked"_s, u"inactive"_s};
        QTest::newRow("failed") << UnitState{u"loaded"_s, u"failed"_s, u"exit-code"_s};
    }
    void tellsTheState() {
        QFETCH(const UnitState, state);
        World world;
        world.system.units.insert(docker.name, state);
        const auto found = await(world.units.state(docker));
        QVERIFY(found == state);
        // The user's own manager does not know it.
        const auto other = await(world.units.state(rootless));
        QVERIFY(other && other->load == u"not-found"_s);
    }

    void startsWithAQuestionForThePassword() {
        World world;
        QVERIFY(!await(world.units.start(docker, {})));
        QCOMPARE(world.system.started, QStringList(u"docker.service replace"_s));
        QVERIFY(world.system.wasInteractive);
        QVERIFY(world.user.started.isEmpty());
        QVERIFY(!await(world.units.start(rootless, {})));
        QCOMPARE(world.user.started.size(), 1);
    }

    void refusals_data() {
        QTest::addColumn<QString>("error");
        QTest::addColumn<int>("reason");
        const auto row = [](const char* error, UnitRefusal::Reason reason) {
            QTest::newRow(error) << QString::fromLatin1(error) << static_cast<int>(reason);
        };
        row("org.freedesktop.DBus.Error.AccessDenied", UnitRefusal::Reason::notAllowed);
        row("org.freedesktop.DBus.Error.InteractiveAuthorizationRequired", UnitRefusal::Reason::noAgent);
        row("org.freedesktop.systemd1.UnitMasked", UnitRefusal::Reason::masked);
        row("org.freedesktop.systemd1.NoSuchUnit", UnitRefusal::Reason::missing);
        row("org.freedesktop.DBus.Error.Failed", UnitRefusal::Reason::other);
    }
    void refusals() {
        QFETCH(const QString, error);
        QFETCH(const int, reason);
        World world;
        world.system.refusal = error;
        const auto refusal = await(world.units.start(docker, {}));
        QVERIFY(refusal);
        QCOMPARE(static_cast<int>(refusal->reason), reason);
        QCOMPARE(refusal->words, u"why"_s);
    }

    void aStopEndsTheWaitForThePassword() {
        World world;
        world.system.hangs = true;
        const std::stop_source stop;
        auto task = world.units.start(docker, stop.get_token());
        QVERIFY(waitUntil([&] { return !world.system.started.isEmpty(); }));
        QVERIFY(!task.isReady());
        stop.request_stop();
        const auto refusal = await(std::move(task));
        QVERIFY(refusal && refusal->reason == UnitRefusal::Reason::cancelled);
    }

    void aManagerThatHangsIsNoneAfterAWhile() {
        World world;
        world.system.hangs = true;
        SystemdUnits units([&] { return world.toSystem; }, [&] { return world.toUser; }, 50ms);
        QVERIFY(!await(units.state(docker)));
    }

    void withoutAManagerOrABus() {
        PrivateBus empty;
        QDBusConnection toEmpty = empty.connect();
        SystemdUnits units([&] { return toEmpty; }, [] { return PrivateBus::none(); }, 2s);
        QVERIFY(!await(units.state(docker)));
        QVERIFY(!await(units.state(rootless)));
        const auto refusal = await(units.start(rootless, {}));
        QVERIFY(refusal && refusal->reason == UnitRefusal::Reason::other);
    }

    /// The demo and the tests of the whole program never touch the services of this computer.
    void standInToolsHaveNoServices() {
        qputenv("ORVANEL_TOOL_ROOT", "/nowhere");
        const bool isConnected = SystemdUnits::systemBus()().isConnected() || SystemdUnits::userBus()().isConnected();
        qunsetenv("ORVANEL_TOOL_ROOT");
        QVERIFY(!isConnected);
    }
};

ORVANEL_TEST(TestSystemdUnits)
#include "TestSystemdUnits.moc"
