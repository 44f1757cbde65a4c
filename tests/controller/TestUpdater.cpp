#include "OperationsWorld.h"
#include "ScriptedReleases.h"
#include "controller/ComposeFile.h"
#include "controller/Updater.h"
#include "platform/SettingsStore.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

const auto newImage = "louislam/uptime-kuma:2.1.0";

struct World : OperationsWorld {
    World() {
        runServer();
        docker.state().container->image = "louislam/uptime-kuma:2";
        docker.state().pullable[newImage] = "sha256:2";
    }

    void update() {
        updater.checkForUpdates();
        settle();
        updater.updateNow();
        dialogs.answerAll(true);
        settle();
    }

    std::string image() { return docker.state().container->image; }
    /// The tag, as the next start of the program would read it.
    QString storedTag() const { return SettingsStore(settingsFile).text(u"imageTag"_s, u"2"_s); }

    const QString settingsFile = home.path(u".config/Orvanel/Orvanel.conf"_s);
    SettingsStore store{settingsFile};
    UserSettings settings{store, *state};
    ScriptedReleases releases;
    Updater updater{
        context, settings, *operations, containerOperations, dataTurns, dialogs, [this] { return releases.fetch(); },
        tasks};
};

} // namespace

class TestUpdater : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theNewestReleaseIsPublished() {
        World world;
        world.releases.holds = true;
        world.updater.checkForUpdates();
        world.updater.checkForUpdates();
        QVERIFY((*world.state)->checkingUpdate);
        QCOMPARE(world.releases.questions.size(), 1);
        world.releases.letGo();
        world.settle();
        QVERIFY(!(*world.state)->checkingUpdate);
        QCOMPARE((*world.state)->latestVersion, std::optional(u"2.1.0"_s));
        QCOMPARE((*world.state)->releaseURL, std::optional(QUrl(u"https://example.org/2.1.0"_s)));
    }

    void aCheckThatFailsKeepsWhatIsKnown() {
        World world;
        world.updater.checkForUpdates();
        world.settle();
        world.releases.answer = ReleaseError{u"Offline."_s};
        world.updater.checkForUpdates();
        world.settle();
        QCOMPARE((*world.state)->updateMessage, std::optional(u"Offline."_s));
        QCOMPARE((*world.state)->latestVersion, std::optional(u"2.1.0"_s));
    }

    void withoutAKnownReleaseNothingIsAsked() {
        World world;
        world.updater.updateNow();
        QVERIFY(world.dialogs.questions.isEmpty());
    }

    void backedUpThenPinnedThenDownloadedThenReplaced() {
        World world;
        world.takeCommands();
        QString tagDuringBackup;
        world.backups.onBegin = [&](const ScriptedBackups::Job&) { tagDuringBackup = world.storedTag(); };
        world.update();
        QCOMPARE(world.message(), QString());
        QCOMPARE(world.backups.jobs.size(), 1);
        QCOMPARE(world.backups.jobs.first().arguments.last(), u"before-update"_s);
        QCOMPARE(tagDuringBackup, u"2"_s);
        QCOMPARE(world.image(), std::string(newImage));
        QCOMPARE(world.storedTag(), u"2.1.0"_s);
        QCOMPARE((*world.state)->imageTag, u"2.1.0"_s);
        QVERIFY(!world.dataTurns.isTaken());
    }

    void theDownloadMayBeCancelledAndTakesThePinBack() {
        World world;
        world.docker.state().overrides.push_back({.command = "compose pull", .hangs = true});
        world.update();
        QVERIFY((*world.state)->pulling);
        QCOMPARE(world.storedTag(), u"2.1.0"_s);
        world.operations->cancel();
        world.settle();
        QVERIFY(!(*world.state)->busy);
        QCOMPARE(world.storedTag(), u"2"_s);
        QCOMPARE(world.image(), std::string("louislam/uptime-kuma:2"));
    }

    void aProgramKilledDuringTheDownloadTakesThePinBackAtItsNextStart() {
        World world;
        world.docker.state().overrides.push_back({.command = "compose pull", .hangs = true});
        world.update();
        QCOMPARE(world.storedTag(), u"2.1.0"_s);
        SettingsStore store(world.settingsFile);
        StateStore state{[] {}};
        const UserSettings settings(store, state);
        QCOMPARE(state->imageTag, u"2"_s);
        world.operations->cancel();
        world.settle();
    }

    void aBackupThatFailsEndsTheUpdate() {
        World world;
        world.backups.failure = u"The disk is full."_s;
        world.takeCommands();
        world.update();
        QCOMPARE(world.message(), u"The backup before the update failed, so nothing was changed."_s);
        QCOMPARE(world.takeCommands(), QStringList());
        QCOMPARE(world.storedTag(), u"2"_s);
    }

    void anUpdateWaitsForItsTurnAtTheData() {
        World world;
        {
            const DataTurns::Turn turn = await(world.dataTurns.take());
            world.update();
            QVERIFY(world.backups.jobs.isEmpty());
        }
        world.settle();
        QCOMPARE(world.backups.jobs.size(), 1);
        QCOMPARE(world.image(), std::string(newImage));
    }
};

ORVANEL_TEST(TestUpdater)
#include "TestUpdater.moc"
