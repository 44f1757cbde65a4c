#include "platform/FreedesktopDesktop.h"
#include "support/Await.h"
#include "support/PrivateBus.h"
#include "support/TestClass.h"

#include <QDBusContext>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const QString managerName = u"org.freedesktop.FileManager1"_s;
const QString managerPath = u"/org/freedesktop/FileManager1"_s;

} // namespace

class FakeFileManager : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    enum class Mood { Shows, Refuses, Hangs };

    FakeFileManager(PrivateBus* bus, Mood mood)
        : m_connection(bus->connect())
        , m_mood(mood) {
        if (!m_connection.registerObject(managerPath, this, QDBusConnection::ExportScriptableSlots) ||
            !m_connection.registerService(managerName)) {
            qFatal("the file manager could not take its place on the bus");
        }
    }

    QList<QStringList> shown;
    QStringList startupIds;

    Q_SCRIPTABLE Q_SLOT void ShowItems(const QStringList& addresses, const QString& startupId) {
        shown << addresses;
        startupIds << startupId;
        setDelayedReply(m_mood == Mood::Hangs);
        if (m_mood == Mood::Refuses) {
            sendErrorReply(QDBusError::Failed, u"not today"_s);
        }
    }

private:
    QDBusConnection m_connection;
    const Mood m_mood;
};

class TestFreedesktopDesktop : public QObject {
    Q_OBJECT

    QList<QUrl> m_opened;
    const FreedesktopDesktop::Opener m_opener = [this](const QUrl& address) { m_opened << address; };

private Q_SLOTS:
    void init() { m_opened.clear(); }

    void onlyWebAddressesAreOpened_data() {
        QTest::addColumn<QString>("address");
        QTest::addColumn<bool>("opened");
        QTest::newRow("http") << u"http://127.0.0.1:3001/"_s << true;
        QTest::newRow("https") << u"https://example.org/a?b=c#d"_s << true;
        QTest::newRow("capitals") << u"HTTPS://EXAMPLE.ORG/"_s << true;
        QTest::newRow("file") << u"file:///etc/passwd"_s << false;
        QTest::newRow("script") << u"javascript:alert(1)"_s << false;
        QTest::newRow("program") << u"ssh://example.org"_s << false;
        QTest::newRow("relative") << u"example.org"_s << false;
        QTest::newRow("no host") << u"http:///path"_s << false;
        QTest::newRow("empty") << QString() << false;
    }

    void onlyWebAddressesAreOpened() {
        QFETCH(const QString, address);
        QFETCH(const bool, opened);
        FreedesktopDesktop desktop(PrivateBus::none(), m_opener);
        desktop.openAddress(QUrl(address));
        QCOMPARE(m_opened, opened ? QList<QUrl>{QUrl(address)} : QList<QUrl>());
    }

    void revealSelectsInTheFileManager() {
        PrivateBus bus;
        const FakeFileManager manager(&bus, FakeFileManager::Mood::Shows);
        FreedesktopDesktop desktop(bus.connect(), m_opener);
        desktop.reveal(u"/tmp/a b/100% #1?.zip"_s);
        desktop.reveal(u"/tmp/\u00fc"_s);
        QVERIFY(waitUntil([&] { return manager.shown.size() == 2; }));
        QCOMPARE(manager.shown[0], QStringList{u"file:///tmp/a%20b/100%25%20%231%3F.zip"_s});
        QCOMPARE(manager.shown[1], QStringList{u"file:///tmp/%C3%BC"_s});
        QCOMPARE(manager.startupIds, (QStringList{QString(), QString()}));
        drainEvents();
        QCOMPARE(m_opened, QList<QUrl>());
    }

    void revealOpensTheFolderWhereNobodyCanSelect_data() {
        QTest::addColumn<int>("mood");
        QTest::newRow("refuses") << int(FakeFileManager::Mood::Refuses);
        QTest::newRow("hangs") << int(FakeFileManager::Mood::Hangs);
    }

    void revealOpensTheFolderWhereNobodyCanSelect() {
        QFETCH(const int, mood);
        PrivateBus bus;
        const FakeFileManager manager(&bus, static_cast<FakeFileManager::Mood>(mood));
        FreedesktopDesktop desktop(bus.connect(), m_opener, 50ms);
        desktop.reveal(u"/tmp/a b/file"_s);
        QVERIFY(waitUntil([&] { return !m_opened.isEmpty(); }));
        QCOMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(u"/tmp/a b"_s)});
    }

    void revealWithoutFileManager() {
        PrivateBus bus;
        FreedesktopDesktop desktop(bus.connect(), m_opener);
        desktop.reveal(u"/tmp/a/file"_s);
        QVERIFY(waitUntil([&] { return !m_opened.isEmpty(); }));
        QCOMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(u"/tmp/a"_s)});
    }

    void revealWithoutBus() {
        FreedesktopDesktop desktop(PrivateBus::none(), m_opener);
        desktop.reveal(u"/tmp/a/file"_s);
        QCOMPARE(m_opened, QList<QUrl>{QUrl::fromLocalFile(u"/tmp/a"_s)});
    }

    void mayEndWhileWaiting() {
        PrivateBus bus;
        const FakeFileManager manager(&bus, FakeFileManager::Mood::Hangs);
        {
            FreedesktopDesktop desktop(bus.connect(), m_opener);
            desktop.reveal(u"/tmp/a/file"_s);
            QVERIFY(waitUntil([&] { return !manager.shown.isEmpty(); }));
        }
        drainEvents();
        QCOMPARE(m_opened, QList<QUrl>());
    }
};

ORVANEL_TEST(TestFreedesktopDesktop)
#include "TestFreedesktopDesktop.moc"
