#include "BackupClicks.h"
#include "platform/SettingsStore.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QDir>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto goingBackKey = u"goingBack"_s;

/// A server that was updated from 2 to 2.1.0.
class World : public ControllerFixture {
public:
    World() {
        standin::addContainer(docker(), "running", controller().state().port);
        controller().begin();
        settle();
        update(u"2.1.0"_s);
        takeCommands();
    }

    void update(const QString& version) {
        releases.answer = LatestRelease{.version = version};
        controller().checkForUpdates();
        settle();
        controller().updateNow();
        settle();
        confirm(*this);
        QVERIFY(operationEnds());
        QCOMPARE(state().imageTag, version);
        backups.jobs.clear();
    }

    void goBack(bool agrees = true) {
        controller().goBack();
        settle();
        confirm(*this, agrees);
    }

    const ControllerState& state() { return controller().state(); }
    QString message() { return state().error ? state().error->message : QString(); }
    QString stored(const QString& key) const { return SettingsStore(settingsFile).text(key, {}); }
    /// What must hold when going back was refused.
    void nothingWasChanged() {
        QVERIFY(operationEnds());
        QCOMPARE(state().imageTag, u"2.1.0"_s);
        QVERIFY(backups.jobs.isEmpty());
        QCOMPARE(docker().container->state, std::string("running"));
        QCOMPARE(stored(goingBackKey), QString());
        for (const QString& command : takeCommands()) {
            QVERIFY2(command == u"inspect" || command == u"image inspect" || command == u"pull", qPrintable(command));
        }
    }
};

} // namespace

/// The way back to the version before an update.
class TestWayBack : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void leadsToTheOldDataAndTheOldVersion() {
        World world;
        QCOMPARE(world.state().wayBackTag, u"2"_s);
        const QString backupsDir = world.controller().backupsDir();
        world.controller().goBack();
        world.settle();
        const Alert alert = world.dialogs.questions.last().alert;
        QCOMPARE(alert.message, u"Go back to Uptime Kuma 2?"_s);
        QVERIFY(alert.informativeText.contains(u"since the update is then missing"_s));
        QVERIFY(alert.informativeText.contains(backupsDir));
        confirm(world);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.message(), QString());
        QCOMPARE(world.backups.jobs.size(), 1);
        QCOMPARE(world.backups.jobs.first().arguments.first(), backupsDir + u"/before-update"_s);
        QCOMPARE(world.state().imageTag, u"2"_s);
        QCOMPARE(world.stored(u"imageTag"_s), u"2"_s);
        QCOMPARE(world.docker().container->image, std::string("louislam/uptime-kuma:2"));
        QCOMPARE(world.docker().container->state, std::string("running"));
        QVERIFY(!world.state().wayBackTag);
        QCOMPARE(world.stored(goingBackKey), QString());
        QCOMPARE(world.takeCommands().first(), u"image inspect"_s);
        // There is none from here.
        world.controller().goBack();
        world.settle();
        QVERIFY(world.dialogs.questions.isEmpty());
    }

    void isThereAfterAnotherStartOfTheProgram() {
        World world;
        KumaController& kuma = world.restartProgram();
        kuma.begin();
        world.settle();
        QCOMPARE(kuma.state().wayBackTag, u"2"_s);
    }

    void leadsOutOfARestartLoop() {
        World world;
        world.docker().container->state = "restarting";
        world.advance(3s);
        QVERIFY(world.state().kuma == KumaState::error);
        QCOMPARE(world.state().wayBackTag, u"2"_s);
        world.goBack();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.message(), QString());
        QVERIFY(world.state().kuma == KumaState::running);
        QCOMPARE(world.state().imageTag, u"2"_s);
    }

    void isGoneWithItsCopy() {
        World world;
        world.backups.copyIsThere = false;
        world.advance(3s);
        QVERIFY(!world.state().wayBackTag);
        world.backups.copyIsThere = true;
        world.advance(3s);
        QCOMPARE(world.state().wayBackTag, u"2"_s);
        world.controller().setImageTag(u"2"_s);
        QVERIFY(!world.state().wayBackTag);
    }

    void thereIsNoneWithoutData() {
        ControllerFixture world;
        world.backups.hasData = false;
        standin::addContainer(world.docker(), "running");
        world.controller().begin();
        world.controller().checkForUpdates();
        world.settle();
        world.controller().updateNow();
        world.settle();
        confirm(world);
        QVERIFY(world.operationEnds());
        QVERIFY(!world.controller().state().wayBackTag);
        world.controller().goBack();
        world.settle();
        QVERIFY(world.dialogs.questions.isEmpty());
    }

    void updateInAConversionKeepsTheOlderWayBack() {
        World world;
        world.backups.dataVersion = DataVersion::converting;
        world.update(u"2.2.0"_s);
        QCOMPARE(world.state().wayBackTag, u"2"_s);
        world.backups.dataVersion = DataVersion::converted;
        world.update(u"2.3.0"_s);
        QCOMPARE(world.state().wayBackTag, u"2.2.0"_s);
    }

    void missingImageIsDownloadedFirst() {
        World world;
        world.docker().images.erase("louislam/uptime-kuma:2");
        world.goBack();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands().mid(0, 2), names({"image inspect", "pull"}));
        QCOMPARE(world.commands().last().result.has_value(), true);
        QCOMPARE(world.state().imageTag, u"2"_s);
    }

    void tagThatNoRegistryHasChangesNothing() {
        World world;
        world.docker().images.erase("louislam/uptime-kuma:2");
        world.docker().pullable = {{"louislam/uptime-kuma:2.1.0", ""}};
        world.goBack();
        world.nothingWasChanged();
        QCOMPARE(world.message(), u"Uptime Kuma 2 could not be downloaded, so nothing was changed."_s);
        QVERIFY(!world.state().error->details.isEmpty());
        QCOMPARE(world.state().wayBackTag, u"2"_s);
    }

    void copyThatIsNotWhatItWasChangesNothing_data() {
        QTest::addColumn<bool>("isThere");
        QTest::addColumn<QString>("fingerprint");
        QTest::newRow("gone") << false << u"f00d"_s;
        QTest::newRow("edited") << true << u"cafe"_s;
        QTest::newRow("unreadable") << true << QString();
    }
    void copyThatIsNotWhatItWasChangesNothing() {
        QFETCH(const bool, isThere);
        QFETCH(const QString, fingerprint);
        World world;
        world.controller().goBack();
        world.settle();
        world.backups.copyIsThere = isThere;
        world.backups.fingerprint = fingerprint;
        confirm(world);
        world.nothingWasChanged();
        QCOMPARE(world.message(), u"The backup from before the update is not what it was, so nothing was changed."_s);
    }

    void whoSaysNoChangesNothing() {
        World world;
        world.goBack(false);
        world.nothingWasChanged();
        QCOMPARE(world.message(), QString());
    }

    void restoreThatFailsLeavesTheNewVersion() {
        World world;
        world.backups.failure = u"The disk is full."_s;
        world.goBack();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.message(), u"The restore failed. The disk is full."_s);
        QCOMPARE(world.state().imageTag, u"2.1.0"_s);
        QCOMPARE(world.stored(goingBackKey), QString());
        QCOMPARE(world.state().wayBackTag, u"2"_s);
    }

    void cancelledDownloadChangesNothing() {
        World world;
        world.docker().images.erase("louislam/uptime-kuma:2");
        world.docker().pace = 1;
        world.goBack();
        world.advance(1s);
        QVERIFY(world.state().pulling);
        world.controller().cancelOperation();
        world.nothingWasChanged();
        QCOMPARE(world.message(), u"Cancelled."_s);
    }

    void settingsThatCannotBeWrittenChangeNothing() {
        World world;
        QFile::remove(world.settingsFile);
        QDir().mkpath(world.settingsFile + u"/in the way"_s);
        world.goBack();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.message(), u"The settings could not be saved."_s);
        QVERIFY(world.backups.jobs.isEmpty());
        QCOMPARE(world.docker().container->state, std::string("running"));
    }

    void killedProgramIsGoneOnWith_data() {
        QTest::addColumn<QString>("note");
        QTest::addColumn<int>("dataFolders");
        QTest::addColumn<QString>("tag");
        QTest::newRow("before the data was replaced") << u"2/1"_s << 1 << u"2.1.0"_s;
        QTest::newRow("after it") << u"2/1"_s << 2 << u"2"_s;
        QTest::newRow("no note") << QString() << 2 << u"2.1.0"_s;
        QTest::newRow("garbage") << u"2"_s << 2 << u"2.1.0"_s;
        QTest::newRow("no tag") << u"-x/1"_s << 2 << u"2.1.0"_s;
    }
    void killedProgramIsGoneOnWith() {
        QFETCH(const QString, note);
        QFETCH(const int, dataFolders);
        World world;
        QVERIFY(SettingsStore(world.settingsFile).setText(goingBackKey, note));
        world.backups.dataFolders = dataFolders;
        const KumaController& kuma = world.restartProgram();
        QTEST(kuma.state().imageTag, "tag");
        QTEST(world.stored(u"imageTag"_s), "tag");
        if (note == u"2/1") {
            QCOMPARE(world.stored(goingBackKey), QString());
        }
    }

    void garbageInTheSettingsIsNoWayBack_data() {
        QTest::addColumn<QString>("note");
        for (const char* note : {"", "2", "2/before-update", "2/../data/f00d", "2/before-update/../x/f00d",
                                 "-2/before-update/f00d", "2/before-update/", "//", "2/daily-1/f00d"}) {
            QTest::addRow("[%s]", note) << QString::fromUtf8(note);
        }
    }
    void garbageInTheSettingsIsNoWayBack() {
        QFETCH(const QString, note);
        ControllerFixture world;
        QDir().mkpath(QFileInfo(world.settingsFile).path());
        QVERIFY(SettingsStore(world.settingsFile).setText(u"safetyCopy"_s, note));
        world.controller().setImageTag(u"2.1.0"_s);
        world.controller().begin();
        world.settle();
        QVERIFY(!world.controller().state().wayBackTag);
        world.controller().goBack();
        world.settle();
        QVERIFY(world.dialogs.questions.isEmpty());
    }
};

ORVANEL_TEST(TestWayBack)
#include "TestWayBack.moc"
