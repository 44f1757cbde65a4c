#include "HelperWorld.h"
#include "helper/PackageManager.h"
#include "helper/SocketAccess.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

using Bytes = std::vector<std::uint8_t>;

Bytes list(std::initializer_list<std::array<unsigned, 3>> entries) {
    Bytes bytes{2, 0, 0, 0};
    const auto append = [&bytes](unsigned number, int size) {
        for (int byte = 0; byte < size; ++byte) {
            bytes.push_back(static_cast<std::uint8_t>(number >> (8 * byte)));
        }
    };
    for (const auto& [tag, permissions, id] : entries) {
        append(tag, 2);
        append(permissions, 2);
        append(id, 4);
    }
    return bytes;
}

constexpr unsigned nobody = 0xFFFFFFFF;

} // namespace

/// The two pure rules of the helper: who may use the socket, and which packages are installed.
class TestHelperRules : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void listsInTheKernelsForm() {
        const Bytes one = list({{1, 6, nobody}, {2, 6, 1000}, {4, 6, nobody}, {16, 6, nobody}, {32, 0, nobody}});
        QVERIFY(accessListWith(1000, {}, 0660) == one);
        // The same user again changes nothing, another comes behind.
        QVERIFY(accessListWith(1000, one, 0660) == one);
        const Bytes two =
            list({{1, 6, nobody}, {2, 6, 1000}, {2, 6, 1001}, {4, 6, nobody}, {16, 6, nobody}, {32, 0, nobody}});
        QVERIFY(accessListWith(1001, one, 0660) == two);
        // A user who might only read, a mask that lets nobody write, a group that was named.
        const Bytes strict =
            list({{1, 6, nobody}, {2, 4, 1000}, {4, 0, nobody}, {8, 6, 7}, {16, 4, nobody}, {32, 0, nobody}});
        const Bytes opened =
            list({{1, 6, nobody}, {2, 6, 1000}, {4, 0, nobody}, {8, 6, 7}, {16, 6, nobody}, {32, 0, nobody}});
        QVERIFY(accessListWith(1000, strict, 0640) == opened);
    }

    void theSystemTakesIt() {
        const HelperWorld world;
        const QString path = world.path(u"/run/docker.sock"_s);
        QVERIFY(openSocketFor(4321, path.toStdString()));
        QVERIFY(openSocketFor(4322, path.toStdString()));
        QProcess tool;
        tool.start(u"getfacl"_s, {u"-nc"_s, path});
        if (!tool.waitForStarted()) {
            QSKIP("getfacl is not installed here, so only our own reading of the list was compared");
        }
        QVERIFY(tool.waitForFinished());
        const QByteArray shown = tool.readAll();
        QVERIFY2(shown.contains("user:4321:rw-\nuser:4322:rw-\n"), shown.constData());
    }

    void whatIsNoSocketIsLeftAlone() {
        const HelperWorld world;
        QVERIFY(!openSocketFor(4321, world.path(u"/etc/passwd"_s).toStdString()));
        QVERIFY(!openSocketFor(4321, world.path(u"/etc"_s).toStdString()));
        QVERIFY(!openSocketFor(4321, world.path(u"/nowhere"_s).toStdString()));
    }

    void packageManagerOfTheDistributionCounts_data() {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QString>("name");
        QTest::newRow("none") << QStringList() << QString();
        QTest::newRow("apt-get") << QStringList(u"/usr/bin/apt-get"_s) << u"apt-get install docker.io"_s;
        QTest::newRow("dnf") << QStringList(u"/usr/bin/dnf"_s) << u"dnf install moby-engine docker-compose"_s;
        QTest::newRow("zypper") << QStringList(u"/usr/bin/zypper"_s) << u"zypper install docker docker-compose"_s;
        QTest::newRow("pacman") << QStringList(u"/usr/bin/pacman"_s) << u"pacman -S docker docker-compose"_s;
        QTest::newRow("a guest") << QStringList({u"/usr/bin/apt-get"_s, u"/usr/bin/dnf"_s, u"/etc/redhat-release"_s})
                                 << u"dnf install moby-engine docker-compose"_s;
        QTest::newRow("two") << QStringList({u"/usr/bin/zypper"_s, u"/usr/bin/apt-get"_s})
                             << u"apt-get install docker.io"_s;
        QTest::newRow("system that is an image")
            << QStringList({u"/usr/bin/dnf"_s, u"/run/ostree-booted"_s}) << QString();
        QTest::newRow("changed by transactions")
            << QStringList({u"/usr/bin/zypper"_s, u"/usr/sbin/transactional-update"_s}) << QString();
    }
    void packageManagerOfTheDistributionCounts() {
        QFETCH(const QStringList, files);
        QFETCH(const QString, name);
        const HelperWorld world{QString()};
        for (const QString& file : files) {
            world.addTool(file);
        }
        const auto manager = packageManagerOf(world.path({}).toStdString());
        QCOMPARE(manager ? QString::fromStdString(manager->shownCommand) : QString(), name);
    }

    void extras_data() {
        QTest::addColumn<QByteArray>("description");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("none") << QByteArray("N: Unable to locate package\n") << QStringList();
        // Debian 12
        QTest::newRow("compose of old") << QByteArray("Package: docker-compose\nVersion: 1.29.2-3\n") << QStringList();
        // Debian 13
        QTest::newRow("plug-in") << QByteArray("Package: docker-cli\nVersion: 26.1.5+dfsg1-9\n\nPackage: "
                                               "docker-compose\nSource: x\nVersion: 2.26.1-4\n")
                                 << QStringList({u"docker-cli"_s, u"docker-compose"_s});
        // Ubuntu 24.04
        QTest::newRow("both") << QByteArray("Package: docker-compose-v2\nVersion: 2.24.6\n\nPackage: "
                                            "docker-compose\nVersion: 1.29.2-6\n")
                              << QStringList(u"docker-compose-v2"_s);
        QTest::newRow("two plug-ins") << QByteArray("Package: docker-compose\nVersion: 1:2.0\n\nPackage: "
                                                    "docker-compose-v2\nVersion: 2.24.6\n")
                                      << QStringList(u"docker-compose-v2"_s);
        QTest::newRow("ten") << QByteArray("Package: docker-compose\nVersion: 10.1\n")
                             << QStringList(u"docker-compose"_s);
        QTest::newRow("others") << QByteArray("Package: docker-evil\nVersion: 9\n") << QStringList();
    }
    void extras() {
        QFETCH(const QByteArray, description);
        QFETCH(const QStringList, expected);
        QStringList found;
        for (const std::string& name : chosenExtras(description.toStdString())) {
            found << QString::fromStdString(name);
        }
        QCOMPARE(found, expected);
    }
};

ORVANEL_TEST(TestHelperRules)
#include "TestHelperRules.moc"
