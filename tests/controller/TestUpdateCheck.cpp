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
        QVERIFY(!kuma.state().latestVersion && !kuma.state().releaseURL && !kuma.state().updateMessage &&
                !kuma.state().checkingUpdate);
        QVERIFY(!kuma.majorChange());
        world.releases.holds = true;
        kuma.checkForUpdates();
        QVERIFY(kuma.state().checkingUpdate);
        QVERIFY(!kuma.state().busy);
        world.releases.letGo();
        QVERIFY(world.everythingEnds());
        QVERIFY(!kuma.state().checkingUpdate);
        QCOMPARE(kuma.state().latestVersion, u"2.1.0"_s);
        QCOMPARE(kuma.state().releaseURL, page);
        QVERIFY(!kuma.state().updateMessage);
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
        QCOMPARE(kuma.state().updateMessage, limited);
        QCOMPARE(kuma.state().latestVersion, u"2.1.0"_s);
        QCOMPARE(kuma.state().releaseURL, page);
        QVERIFY(!kuma.state().error);
        // The next check forgets the failure at once.
        world.releases.holds = true;
        kuma.checkForUpdates();
        QVERIFY(!kuma.state().updateMessage);
        world.releases.answer = LatestRelease{.version = u"2.2.0"_s};
        world.releases.letGo();
        QVERIFY(world.everythingEnds());
        QCOMPARE(kuma.state().latestVersion, u"2.2.0"_s);
        QVERIFY(!kuma.state().updateMessage);
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
        QCOMPARE(kuma.state().releaseURL.has_value(), !address.isEmpty());
        QCOMPARE(kuma.state().releaseURL.value_or(QUrl()).toString(), address);
        QVERIFY(!kuma.state().updateMessage);
    }

    void runsBesideAnOperation() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.delay("info", 5s);
        kuma.start();
        kuma.checkForUpdates();
        world.settle();
        QCOMPARE(kuma.state().latestVersion, u"2.1.0"_s);
        QCOMPARE(kuma.state().busy, u"Starting Uptime Kuma…"_s);
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
