#include "BackupClicks.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QFileInfo>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto restoring = u"Restoring backup…"_s;
const auto zip = u"/home/ann/Backup.zip"_s;

QCoro::Task<void> note(QStringList* places, QString dataDir, QString backupsDir) {
    *places << dataDir << backupsDir;
    co_return;
}

} // namespace

class TestRestoreOperations : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void restoreAsksTwice() {
        ControllerFixture world;
        startServer(world);
        KumaController& kuma = world.controller();
        kuma.restoreBackup();
        QCOMPARE(world.dialogs.openPanels.size(), 1);
        const OpenPanel panel = world.dialogs.openPanels.first();
        QCOMPARE(panel.title, u"Choose a backup to restore"_s);
        QCOMPARE(panel.message, u"Choose a backup folder or a .zip file made by Back up now."_s);
        QVERIFY(panel.filesAllowed && panel.foldersAllowed);
        choosePath(world, std::nullopt);
        kuma.restoreBackup();
        choosePath(world, QString());
        QVERIFY(world.dialogs.questions.isEmpty());

        kuma.restoreBackup();
        choosePath(world, zip);
        QCOMPARE(world.dialogs.questions.size(), 1);
        const Alert alert = world.dialogs.questions.first().alert;
        QVERIFY(alert.style == Alert::Style::Warning);
        QCOMPARE(alert.message, u"Restore this backup?"_s);
        QCOMPARE(alert.informativeText,
                 u"Uptime Kuma will be stopped and the data in\n"_s + kuma.dataDir() +
                     u"\nwill be replaced by the backup. The current data is kept once in the Backups "
                     "folder, then Uptime Kuma starts again."_s);
        QCOMPARE(alert.confirmButton, u"Restore"_s);
        QCOMPARE(alert.cancelButton, u"Cancel"_s);
        confirm(world, false);
        QVERIFY(world.everythingEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QVERIFY(world.takeCommands().isEmpty());
        QVERIFY(!kuma.state().busy && !kuma.state().error);
    }

    void restoreStopsReplacesAndStarts() {
        ControllerFixture world;
        startServer(world);
        const KumaController& kuma = world.controller();
        QString stateAtWork;
        world.backups.onWork = [&](const ScriptedBackups::Job&) {
            stateAtWork = QString::fromStdString(world.docker().container->state);
        };
        world.backups.holds = true;
        restoreFrom(world, zip);
        QCOMPARE(kuma.state().busy, restoring);
        world.backups.letGo();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QCOMPARE(stateAtWork, u"exited"_s);
        QCOMPARE(world.backups.jobs.size(), 1);
        QCOMPARE(world.backups.jobs.first().arguments,
                 (QStringList{zip, kuma.dataDir(), world.applicationSupport + u"/Orvanel/Backups"_s}));
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect", "compose stop", "inspect", "inspect", "inspect",
                                              "info", "inspect", "image inspect", "compose up", "inspect"}));
        QVERIFY(kuma.state().kuma == KumaState::running);
        QVERIFY(world.desktop.revealed.isEmpty());
    }

    void restoreWithNothingRunningStarts() {
        ControllerFixture world;
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QVERIFY(!world.controller().state().error);
        QCOMPARE(world.backups.jobs.size(), 1);
        QVERIFY(world.controller().state().kuma == KumaState::running);
    }

    void restoreWhoseStopFailsLeavesTheData() {
        ControllerFixture world;
        startServer(world);
        world.answer("compose stop", 1, u"no"_s);
        world.answer("stop", 1, u"never"_s);
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QCOMPARE(world.controller().state().error, (OpError{u"Docker reported an error."_s, u"never"_s}));
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect", "compose stop", "stop", "inspect"}));
    }

    /// Compose leaves alone a container that it has not made, and calls that a success.
    void restoreNeverReplacesTheDataOfARunningServer() {
        ControllerFixture world;
        startServer(world);
        world.docker().container->owner = standin::Owner::plain;
        world.answer("stop", 1, u"never"_s);
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QVERIFY(world.controller().state().error.has_value());
        QCOMPARE(world.docker().container->state, std::string("running"));
    }

    void restoreReplacesNothingWhenItCannotLook_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("details");
        const auto refusal = u"permission denied while trying to connect to the Docker daemon socket"_s;
        QTest::newRow("refused") << 1 << refusal << refusal;
        QTest::newRow("no answer") << -1 << QString() << u"Docker did not answer in time."_s;
        QTest::newRow("no words") << 1 << QString() << u"Docker reported an error."_s;
        QTest::newRow("a fault") << 125 << u"context not found"_s << u"context not found"_s;
    }

    void restoreReplacesNothingWhenItCannotLook() {
        QFETCH(const int, status);
        QFETCH(const QString, output);
        QFETCH(const QString, details);
        ControllerFixture world;
        startServer(world);
        if (status < 0) {
            world.hang("inspect");
        } else {
            world.answer("inspect", status, output);
        }
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QCOMPARE(world.controller().state().error,
                 (OpError{u"Could not make sure that Uptime Kuma is stopped. Nothing was restored."_s, details}));
        QCOMPARE(world.docker().container->state, std::string("running"));
        QVERIFY(!world.controller().state().busy);
    }

    void restoreWithoutADaemonGoesOn() {
        ControllerFixture world;
        const auto words = u"Cannot connect to the Docker daemon at unix:///x. Is the daemon running?"_s;
        world.answer("inspect", 1, words);
        world.answer("info", 1, words);
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.backups.jobs.size(), 1);
        QVERIFY(!world.controller().state().error);
    }

    /// Containers may keep running without their daemon.
    void restoreReplacesNothingWhileSomebodyHoldsThePort() {
        ControllerFixture world;
        const auto words = u"Cannot connect to the Docker daemon at unix:///x. Is the daemon running?"_s;
        world.answer("inspect", 1, words);
        world.listeningPorts.insert(world.controller().state().port);
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QCOMPARE(world.controller().state().error,
                 (OpError{u"Could not make sure that Uptime Kuma is stopped. Nothing was restored."_s, words}));
    }

    void anotherToolChosenDuringTheLookChangesNothing() {
        ControllerFixture world;
        startServer(world);
        // The stop cannot look at the container, and neither can the look before the restore.
        world.answer("inspect", 1, u"permission denied while trying to connect"_s, -1, 5s);
        restoreFrom(world, zip);
        world.advance(6s);
        world.controller().setDockerOverride(u"/elsewhere/docker"_s);
        QVERIFY(world.operationEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QVERIFY(world.controller().state().error->message.endsWith(u"Nothing was restored."_s));
    }

    /// The tool may be in a place that only the setting named, and the server runs on without it.
    void restoreWithoutAToolReplacesNothingWhileSomebodyHoldsThePort() {
        ControllerFixture world;
        world.installedDocker = std::nullopt;
        world.listeningPorts = {world.controller().state().port};
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QCOMPARE(world.controller().state().error,
                 (OpError{u"Could not make sure that Uptime Kuma is stopped. Nothing was restored."_s,
                          u"Docker was not found, and port 3001 is in use."_s}));
    }

    /// A daemon that restarts brings its containers up again while the backup is unpacked.
    void serverThatCameBackIsStartedAnewOnTheRestoredData() {
        ControllerFixture world;
        startServer(world);
        world.backups.onWork = [&](const ScriptedBackups::Job&) { world.docker().container->state = "running"; };
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QVERIFY(!world.controller().state().error);
        const QStringList commands = world.takeCommands();
        QCOMPARE(commands.count(u"compose stop"_s), 2);
        QVERIFY(commands.lastIndexOf(u"compose stop"_s) < commands.indexOf(u"compose up"_s));
    }

    void restoreGoesOnWhenTheBackupBeforeItFailed() {
        ControllerFixture world;
        startServer(world);
        world.backups.holds = true;
        backUpTo(world, zip);
        restoreFrom(world, zip);
        world.backups.onWork = [&](const ScriptedBackups::Job& job) {
            world.backups.failure.reset();
            if (job.kind == u"back up"_s) {
                world.backups.failure = u"The disk is full."_s;
            }
        };
        world.backups.letGo();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.backups.jobs.size(), 2);
        QCOMPARE(world.docker().container->state, std::string("running"));
        QCOMPARE(world.controller().state().error->message, u"The backup failed."_s);
    }

    void restoreWithoutAToolGoesOn() {
        ControllerFixture world;
        world.installedDocker = std::nullopt;
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.backups.jobs.size(), 1);
        QVERIFY(world.takeCommands().isEmpty());
        QVERIFY(world.controller().state().dockerState == DockerState::missing);
    }

    /// The tool has not been looked for yet, and a server of the last session may be running.
    void restoreLooksForTheToolBeforeItReplacesAnything() {
        ControllerFixture world;
        standin::addContainer(world.docker(), "running");
        QString stateAtWork;
        world.backups.onWork = [&](const ScriptedBackups::Job&) {
            stateAtWork = QString::fromStdString(world.docker().container->state);
        };
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QCOMPARE(stateAtWork, u"exited"_s);
    }

    void restoreLetsTheServerRunWhileABackupIsMade() {
        ControllerFixture world;
        startServer(world);
        world.backups.holds = true;
        backUpTo(world, zip);
        restoreFrom(world, zip);
        QCOMPARE(world.docker().container->state, std::string("running"));
        world.backups.letGo();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.backups.jobs.size(), 2);
        QVERIFY(!world.controller().state().error);
    }

    void restoreThatFailsDoesNotStart() {
        ControllerFixture world;
        startServer(world);
        const KumaController& kuma = world.controller();
        const auto reason = u"That folder does not look like an Uptime Kuma data folder (no kuma.db)."_s;
        world.backups.failure = reason;
        restoreFrom(world, u"/home/ann/Folder"_s);
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error, (OpError{u"The restore failed. "_s + reason, reason}));
        QVERIFY(kuma.state().kuma == KumaState::stopped);
        QCOMPARE(world.docker().container->state, std::string("exited"));
    }

    void restoreConfirmedDuringAnotherOperationIsDropped() {
        ControllerFixture world;
        startServer(world);
        KumaController& kuma = world.controller();
        kuma.restoreBackup();
        choosePath(world, zip);
        world.delay("compose stop", 5s);
        kuma.stop();
        world.settle();
        confirm(world);
        QCOMPARE(kuma.state().busy, u"Stopping…"_s);
        QVERIFY(world.operationEnds());
        QVERIFY(world.everythingEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QVERIFY(!kuma.state().error);
    }

    void killedRestoreIsTakenBackBeforeTheDataFolderIsMade_data() {
        QTest::addColumn<QString>("what");
        for (const char* what : {"program", "server", "folder"}) {
            QTest::newRow(what) << QString::fromLatin1(what);
        }
    }

    void killedRestoreIsTakenBackBeforeTheDataFolderIsMade() {
        QFETCH(const QString, what);
        ControllerFixture world;
        KumaController& kuma = world.controller();
        const auto program = u".local/share/Orvanel/"_s;
        const auto kept = u"before-restore-2026-01-02-030405"_s;
        const auto work = u".orvanel-01234567-89AB-CDEF-0123-456789ABCDEF/"_s;
        world.home.write(program + work + u"restoring"_s, "data/" + kept.toUtf8());
        world.home.write(program + work + u"data/kuma.db"_s, "half");
        world.home.write(program + u"Backups/"_s + kept + u"/kuma.db"_s, "the data");
        if (what == u"program") {
            kuma.begin();
            world.settle();
        } else if (what == u"server") {
            startServer(world);
        } else {
            kuma.revealDataFolder();
        }
        QFile file(kuma.dataDir() + u"/kuma.db"_s);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("the data"));
    }

    void whatEarlierRunsLeftIsRemovedAtTheStart() {
        ControllerFixture world;
        QStringList places;
        world.adjust = [&places](ControllerEnvironment&, HostFunctions& host) {
            host.cleanUp = [&places](QString dataDir, QString backupsDir) {
                return note(&places, dataDir, backupsDir);
            };
        };
        KumaController& kuma = world.controller();
        QVERIFY(places.isEmpty());
        kuma.begin();
        QCOMPARE(places, (QStringList{kuma.dataDir(), kuma.backupsDir()}));
    }

    void dataFolderIsNotMadeInTheMiddleOfARestore() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.backups.holds = true;
        restoreFrom(world, zip);
        QCOMPARE(world.backups.underWay, 1);
        kuma.revealDataFolder();
        QVERIFY(!QFileInfo::exists(kuma.dataDir()));
        QCOMPARE(world.desktop.revealed, QStringList(kuma.dataDir()));
    }
};

ORVANEL_TEST(TestRestoreOperations)
#include "TestRestoreOperations.moc"
