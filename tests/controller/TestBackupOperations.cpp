#include "BackupClicks.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto backingUp = u"Backing up…"_s;
const auto zip = u"/home/ann/Backup.zip"_s;

} // namespace

class TestBackupOperations : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void backupAsksWhereTo() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.backUpNow();
        QCOMPARE(world.dialogs.savePanels.size(), 1);
        const SavePanel panel = world.dialogs.savePanels.first();
        QCOMPARE(panel.title, u"Back up Uptime Kuma data"_s);
        QCOMPARE(panel.message, u"A name ending in .zip makes a zip file; otherwise a folder is created. "
                                "Uptime Kuma keeps running."_s);
        QCOMPARE(panel.proposedName, u"Uptime Kuma backup 2026-01-02-030405.zip"_s);
        QVERIFY(!kuma.state().busy);
        choosePath(world, std::nullopt);
        kuma.backUpNow();
        choosePath(world, QString());
        QVERIFY(!kuma.state().busy);
        QVERIFY(world.backups.jobs.isEmpty());
        QVERIFY(world.everythingEnds());
    }

    void backupIsMadeAndShown() {
        ControllerFixture world;
        startServer(world);
        KumaController& kuma = world.controller();
        world.backups.holds = true;
        backUpTo(world, zip);
        QCOMPARE(kuma.state().busy, backingUp);
        QCOMPARE(world.backups.jobs.size(), 1);
        QCOMPARE(world.backups.jobs.first().arguments, (QStringList{kuma.dataDir(), zip}));
        QVERIFY(world.desktop.revealed.isEmpty());
        // It cannot be cancelled.
        kuma.cancelOperation();
        world.settle();
        QCOMPARE(kuma.state().busy, backingUp);
        bool wasBusyWhenShown = true;
        QObject::connect(&kuma, &KumaController::changed, &kuma,
                         [&] { wasBusyWhenShown = !world.desktop.revealed.isEmpty(); });
        world.backups.letGo();
        QVERIFY(world.everythingEnds());
        QVERIFY(!kuma.state().busy);
        QVERIFY(!wasBusyWhenShown);
        QCOMPARE(world.desktop.revealed, QStringList(zip));
        QVERIFY(!kuma.state().error);
        QVERIFY2(world.takeCommands().isEmpty(), "Uptime Kuma is left alone");
    }

    void nobodyLooksDuringABackup() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        world.backups.holds = true;
        backUpTo(world, zip);
        world.takeCommands();
        world.removeContainer();
        world.advance(30s);
        QVERIFY(world.takeCommands().isEmpty());
        QVERIFY(world.controller().state().kuma == KumaState::running);
        world.backups.letGo();
        world.advance(3s);
        QVERIFY(world.controller().state().kuma == KumaState::stopped);
    }

    void backupThatFailsIsTold() {
        ControllerFixture world;
        world.backups.failure = u"There is no data folder yet. Start Uptime Kuma once first."_s;
        backUpTo(world, zip);
        QVERIFY(world.everythingEnds());
        QCOMPARE(world.controller().state().error, (OpError{u"The backup failed."_s, *world.backups.failure}));
        QVERIFY(!world.controller().state().busy);
        QVERIFY(world.desktop.revealed.isEmpty());
    }

    void backupKeepsAnEarlierError() {
        ControllerFixture world;
        world.loginItem.failure = u"No room."_s;
        world.controller().setLaunchAtLogin(true);
        const auto before = world.controller().state().error;
        QVERIFY(before);
        backUpTo(world, zip);
        QVERIFY(world.everythingEnds());
        QCOMPARE(world.controller().state().error, before);
    }

    void databaseThatDidNotPassIsToldAndTheBackupShown() {
        ControllerFixture world;
        world.backups.databaseProblem = u"row 7 missing from index"_s;
        backUpTo(world, zip);
        QVERIFY(world.everythingEnds());
        QCOMPARE(world.controller().state().error,
                 (OpError{u"The backup was made, but its database did not pass a check."_s,
                          u"row 7 missing from index\n\nThe backup is\n"_s + zip}));
        QVERIFY(!world.controller().state().busy);
        QCOMPARE(world.desktop.revealed, QStringList(zip));
    }

    void backupIsShownEvenWhenTheControllerIsGone() {
        ControllerFixture world;
        auto kuma = std::make_unique<KumaController>(world.environment());
        world.backups.holds = true;
        kuma->backUpNow();
        choosePath(world, zip);
        QCOMPARE(world.backups.underWay, 1);
        kuma.reset();
        world.backups.letGo();
        world.settle();
        QCOMPARE(world.desktop.revealed, QStringList(zip));
    }

    void twoBackupsOneAfterTheOther() {
        ControllerFixture world;
        const KumaController& kuma = world.controller();
        world.backups.holds = true;
        backUpTo(world, zip);
        backUpTo(world, u"/home/ann/Folder"_s);
        QCOMPARE(world.backups.jobs.size(), 1);
        world.backups.jobs.first().go.complete();
        world.settle();
        QCOMPARE(kuma.state().busy, backingUp);
        QCOMPARE(world.desktop.revealed.size(), 1);
        QCOMPARE(world.backups.jobs.size(), 2);
        world.backups.letGo();
        QVERIFY(world.everythingEnds());
        QVERIFY(!kuma.state().busy);
        QCOMPARE(world.desktop.revealed.size(), 2);
    }

    void backupThatEndsBesideAnOperationLeavesItsWords() {
        ControllerFixture world;
        startServer(world);
        KumaController& kuma = world.controller();
        world.delay("compose stop", 20s);
        kuma.stop();
        world.backups.holds = true;
        backUpTo(world, zip);
        QCOMPARE(kuma.state().busy, backingUp);
        world.backups.letGo();
        world.settle();
        QCOMPARE(kuma.state().busy, u"Stopping…"_s);
        QCOMPARE(world.desktop.revealed, QStringList(zip));
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QVERIFY(kuma.state().kuma == KumaState::stopped);
    }

    void operationThatEndsBesideABackupLooksAndLeavesItsWords() {
        ControllerFixture world;
        startServer(world);
        KumaController& kuma = world.controller();
        world.backups.holds = true;
        backUpTo(world, zip);
        kuma.stop();
        QCOMPARE(kuma.state().busy, u"Stopping…"_s);
        world.settle();
        QVERIFY(kuma.state().kuma == KumaState::stopped);
        QCOMPARE(kuma.state().busy, backingUp);
        world.backups.letGo();
        world.settle();
        QVERIFY(!kuma.state().busy);
    }

    void workOnTheDataWaitsForABackup_data() {
        QTest::addColumn<QString>("work");
        QTest::newRow("restore") << u"restore"_s;
        QTest::newRow("update") << u"update"_s;
        QTest::newRow("removal") << u"removal"_s;
    }

    void workOnTheDataWaitsForABackup() {
        QFETCH(const QString, work);
        ControllerFixture world;
        startServer(world);
        KumaController& kuma = world.controller();
        kuma.checkForUpdates();
        world.settle();
        world.home.write(u".local/share/Orvanel/data/kuma.db"_s, "precious");
        world.backups.holds = true;
        backUpTo(world, zip);
        if (work == u"restore") {
            restoreFrom(world, zip);
        } else if (work == u"update") {
            kuma.updateNow();
            confirm(world);
        } else {
            kuma.removeEverything();
            confirm(world);
        }
        QVERIFY(kuma.state().busy && kuma.state().busy != backingUp);
        world.advance(60s);
        QCOMPARE(world.backups.jobs.size(), 1);
        QVERIFY(QFileInfo::exists(kuma.dataDir() + u"/kuma.db"_s));
        world.backups.onWork = [&](const ScriptedBackups::Job&) {
            if (world.backups.underWay > 0) {
                qFatal("two jobs work on the data at once");
            }
        };
        world.backups.letGo();
        QVERIFY(world.everythingEnds());
        QVERIFY(!kuma.state().error);
        QCOMPARE(world.backups.jobs.size(), work == u"removal" ? 1 : 2);
        QCOMPARE(QFileInfo::exists(kuma.dataDir()), work != u"removal");
    }

    void dataFolderIsMadeAndShown() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        QVERIFY(!QFileInfo::exists(kuma.dataDir()));
        kuma.revealDataFolder();
        QVERIFY(QFileInfo(kuma.dataDir()).isDir());
        QCOMPARE(world.desktop.revealed, QStringList(kuma.dataDir()));
    }

    void dataFolderThatCannotBeMadeIsShownAllTheSame() {
        ControllerFixture world;
        world.home.write(u".local/share/Orvanel"_s, "in the way");
        KumaController& kuma = world.controller();
        kuma.revealDataFolder();
        QVERIFY(!kuma.state().error);
        QCOMPARE(world.desktop.revealed, QStringList(kuma.dataDir()));
    }
};

ORVANEL_TEST(TestBackupOperations)
#include "TestBackupOperations.moc"
