#include "ControllerFixture.h"
#include "support/Await.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto page = QUrl(u"https://example.org/2.1.0"_s);
const auto limited = u"Could not check for updates (HTTP 403)."_s;

} // namespace

/// Looking for the newest release.
class TestUpdateCheck : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void newestReleaseIsPublished() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        QVERIFY(!kuma.latestVersion() && !kuma.releaseURL() && !kuma.updateMessage() && !kuma.checkingUpdate());
        QVERIFY(!kuma.majorChange());
        world.releases.holds = true;
        kuma.checkForUpdates();
        QVERIFY(kuma.checkingUpdate());
        QVERIFY(!kuma.busy());
        world.releases.letGo();
        QVERIFY(world.everythingEnds());
        QVERIFY(!kuma.checkingUpdate());
        QCOMPARE(kuma.latestVersion(), u"2.1.0"_s);
        QCOMPARE(kuma.releaseURL(), page);
        QVERIFY(!kuma.updateMessage());
        QVERIFY(world.commands().isEmpty());
    }

    void secondCheckIsIgnored() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.releases.holds = true;
        kuma.checkForUpdates();
        kuma.checkForUpdates();
        world.settle();
        QCOMPARE(world.releases.questions.size(), 1);
        world.releases.letGo();
        QVERIFY(world.everythingEnds());
        kuma.checkForUpdates();
        QCOMPARE(world.releases.questions.size(), 2);
    }

    void failureKeepsWhatWasKnown() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.checkForUpdates();
        QVERIFY(world.everythingEnds());
        world.releases.answer = ReleaseError{limited};
        kuma.checkForUpdates();
        QVERIFY(world.everythingEnds());
        QCOMPARE(kuma.updateMessage(), limited);
        QCOMPARE(kuma.latestVersion(), u"2.1.0"_s);
        QCOMPARE(kuma.releaseURL(), page);
        QVERIFY(!kuma.error());
        // The next check forgets the failure at once.
        world.releases.holds = true;
        kuma.checkForUpdates();
        QVERIFY(!kuma.updateMessage());
        world.releases.answer = LatestRelease{.version = u"2.2.0"_s};
        world.releases.letGo();
        QVERIFY(world.everythingEnds());
        QCOMPARE(kuma.latestVersion(), u"2.2.0"_s);
        QVERIFY(!kuma.updateMessage());
    }

    void pageOfTheRelease_data() {
        QTest::addColumn<bool>("isTold");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("address");
        QTest::newRow("another") << true << "https://example.org/new"
                                 << "https://example.org/new";
        QTest::newRow("not told: the earlier one stays") << false << "" << page.toString();
        QTest::newRow("no address") << true << "https://exa mple.org:x/"
                                    << "";
        QTest::newRow("nothing") << true << ""
                                 << "";
    }

    void pageOfTheRelease() {
        QFETCH(const bool, isTold);
        QFETCH(const QString, text);
        QFETCH(const QString, address);
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.checkForUpdates();
        QVERIFY(world.everythingEnds());
        world.releases.answer = LatestRelease{.version = u"3"_s, .page = isTold ? std::optional(text) : std::nullopt};
        kuma.checkForUpdates();
        QVERIFY(world.everythingEnds());
        QCOMPARE(kuma.releaseURL().has_value(), !address.isEmpty());
        QCOMPARE(kuma.releaseURL().value_or(QUrl()).toString(), address);
        QVERIFY(!kuma.updateMessage());
    }

    void runsBesideAnOperation() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.delay("info", 5s);
        kuma.start();
        kuma.checkForUpdates();
        world.settle();
        QCOMPARE(kuma.latestVersion(), u"2.1.0"_s);
        QCOMPARE(kuma.busy(), u"Starting Uptime Kuma…"_s);
        QVERIFY(world.operationEnds());
    }

    void majorChangeFollowsTagAndRelease() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setImageTag(u"1"_s);
        QVERIFY(!kuma.majorChange());
        kuma.checkForUpdates();
        QVERIFY(world.everythingEnds());
        QVERIFY(kuma.majorChange());
        kuma.setImageTag(u"2.0.0"_s);
        QVERIFY(!kuma.majorChange());
    }
};

ORVANEL_TEST(TestUpdateCheck)
#include "TestUpdateCheck.moc"
