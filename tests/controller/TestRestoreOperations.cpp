#include "BackupClicks.h"
#include "support/Await.h"

#include <QFileInfo>

using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto restoring = QStringLiteral("Restoring backup…");
const auto zip = QStringLiteral("/home/ann/Backup.zip");

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
        QCOMPARE(panel.title, QStringLiteral("Choose a backup to restore"));
        QCOMPARE(panel.message, QStringLiteral("Choose a backup folder or a .zip file made by Back up now."));
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
        QCOMPARE(alert.message, QStringLiteral("Restore this backup?"));
        QCOMPARE(alert.informativeText,
                 QStringLiteral("Uptime Kuma will be stopped and the data in\n") + kuma.dataDir() +
                     QStringLiteral("\nwill be replaced by the backup. The current data is kept once in the Backups "
                                    "folder, then Uptime Kuma starts again."));
        QCOMPARE(alert.confirmButton, QStringLiteral("Restore"));
        QCOMPARE(alert.cancelButton, QStringLiteral("Cancel"));
        confirm(world, false);
        QVERIFY(world.everythingEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QVERIFY(world.takeCommands().isEmpty());
        QVERIFY(!kuma.busy() && !kuma.error());
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
        QCOMPARE(kuma.busy(), restoring);
        world.backups.letGo();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.error());
        QCOMPARE(stateAtWork, QStringLiteral("exited"));
        QCOMPARE(world.backups.jobs.size(), 1);
        QCOMPARE(world.backups.jobs.first().arguments,
                 (QStringList{zip, kuma.dataDir(), world.applicationSupport + QStringLiteral("/Orvanel/Backups")}));
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect", "compose stop", "inspect", "inspect", "inspect",
                                              "info", "inspect", "image inspect", "compose up", "inspect"}));
        QVERIFY(kuma.kuma() == KumaState::running);
        QVERIFY(world.desktop.revealed.isEmpty());
    }

    void restoreWithNothingRunningStarts() {
        ControllerFixture world;
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QVERIFY(!world.controller().error());
        QCOMPARE(world.backups.jobs.size(), 1);
        QVERIFY(world.controller().kuma() == KumaState::running);
    }

    void restoreWhoseStopFailsLeavesTheData() {
        ControllerFixture world;
        startServer(world);
        world.answer("compose stop", 1, QStringLiteral("no"));
        world.answer("stop", 1, QStringLiteral("never"));
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QCOMPARE(world.controller().error(),
                 (OpError{QStringLiteral("Docker reported an error."), QStringLiteral("never")}));
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect", "compose stop", "stop", "inspect"}));
    }

    /// Compose leaves a container alone that it has not made, and calls that a success.
    void restoreNeverReplacesTheDataOfARunningServer() {
        ControllerFixture world;
        startServer(world);
        world.docker().container->owner = standin::Owner::plain;
        world.answer("stop", 1, QStringLiteral("never"));
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QVERIFY(world.controller().error().has_value());
        QCOMPARE(world.docker().container->state, std::string("running"));
    }

    void restoreReplacesNothingWhenItCannotLook_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("details");
        const auto refusal = QStringLiteral("permission denied while trying to connect to the Docker daemon socket");
        QTest::newRow("refused") << 1 << refusal << refusal;
        QTest::newRow("no answer") << -1 << QString() << QStringLiteral("Docker did not answer in time.");
        QTest::newRow("no words") << 1 << QString() << QStringLiteral("Docker reported an error.");
        QTest::newRow("a fault") << 125 << QStringLiteral("context not found") << QStringLiteral("context not found");
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
        QCOMPARE(world.controller().error(),
                 (OpError{QStringLiteral("Could not make sure that Uptime Kuma is stopped. Nothing was restored."),
                          details}));
        QCOMPARE(world.docker().container->state, std::string("running"));
        QVERIFY(!world.controller().busy());
    }

    void restoreWithoutADaemonGoesOn() {
        ControllerFixture world;
        const auto words = QStringLiteral("Cannot connect to the Docker daemon at unix:///x. Is the daemon running?");
        world.answer("inspect", 1, words);
        world.answer("info", 1, words);
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.backups.jobs.size(), 1);
        QVERIFY(!world.controller().error());
    }

    /// Containers may live on without their daemon.
    void restoreReplacesNothingWhileSomebodyHoldsThePort() {
        ControllerFixture world;
        const auto words = QStringLiteral("Cannot connect to the Docker daemon at unix:///x. Is the daemon running?");
        world.answer("inspect", 1, words);
        world.listeningPorts.insert(world.controller().port());
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QCOMPARE(
            world.controller().error(),
            (OpError{QStringLiteral("Could not make sure that Uptime Kuma is stopped. Nothing was restored."), words}));
    }

    void anotherToolChosenDuringTheLookChangesNothing() {
        ControllerFixture world;
        startServer(world);
        // The stop learns nothing, and the look before the restore is refused as well.
        world.answer("inspect", 1, QStringLiteral("permission denied while trying to connect"), -1, 5s);
        restoreFrom(world, zip);
        world.advance(6s);
        world.controller().setDockerOverride(QStringLiteral("/elsewhere/docker"));
        QVERIFY(world.operationEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QVERIFY(world.controller().error()->message.endsWith(QStringLiteral("Nothing was restored.")));
    }

    /// The tool may lie where only the setting told, and the server goes on without it.
    void restoreWithoutAToolReplacesNothingWhileSomebodyHoldsThePort() {
        ControllerFixture world;
        world.installedDocker = std::nullopt;
        world.listeningPorts = {world.controller().port()};
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QCOMPARE(world.controller().error(),
                 (OpError{QStringLiteral("Could not make sure that Uptime Kuma is stopped. Nothing was restored."),
                          QStringLiteral("Docker was not found, and port 3001 is in use.")}));
    }

    /// A daemon that is only restarted brings its containers up again while the backup is unpacked.
    void serverThatCameBackIsStartedAnewOnTheRestoredData() {
        ControllerFixture world;
        startServer(world);
        world.backups.onWork = [&](const ScriptedBackups::Job&) { world.docker().container->state = "running"; };
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QVERIFY(!world.controller().error());
        const QStringList commands = world.takeCommands();
        QCOMPARE(commands.count(QStringLiteral("compose stop")), 2);
        QVERIFY(commands.lastIndexOf(QStringLiteral("compose stop")) < commands.indexOf(QStringLiteral("compose up")));
    }

    void restoreGoesOnWhenTheBackupBeforeItFailed() {
        ControllerFixture world;
        startServer(world);
        world.backups.holds = true;
        backUpTo(world, zip);
        restoreFrom(world, zip);
        world.backups.onWork = [&](const ScriptedBackups::Job& job) {
            world.backups.failure.reset();
            if (job.kind == QStringLiteral("back up")) {
                world.backups.failure = QStringLiteral("The disk is full.");
            }
        };
        world.backups.letGo();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.backups.jobs.size(), 2);
        QCOMPARE(world.docker().container->state, std::string("running"));
        QCOMPARE(world.controller().error()->message, QStringLiteral("The backup failed."));
    }

    void restoreWithoutAToolGoesOn() {
        ControllerFixture world;
        world.installedDocker = std::nullopt;
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.backups.jobs.size(), 1);
        QVERIFY(world.takeCommands().isEmpty());
        QVERIFY(world.controller().dockerState() == DockerState::missing);
    }

    /// Nobody has looked for the tool yet, and a server of the last session may be running.
    void restoreLooksForTheToolBeforeItReplacesAnything() {
        ControllerFixture world;
        standin::addContainer(world.docker(), "running");
        QString stateAtWork;
        world.backups.onWork = [&](const ScriptedBackups::Job&) {
            stateAtWork = QString::fromStdString(world.docker().container->state);
        };
        restoreFrom(world, zip);
        QVERIFY(world.operationEnds());
        QCOMPARE(stateAtWork, QStringLiteral("exited"));
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
        QVERIFY(!world.controller().error());
    }

    void restoreThatFailsDoesNotStart() {
        ControllerFixture world;
        startServer(world);
        const KumaController& kuma = world.controller();
        const auto reason = QStringLiteral("That folder does not look like an Uptime Kuma data folder (no kuma.db).");
        world.backups.failure = reason;
        restoreFrom(world, QStringLiteral("/home/ann/Folder"));
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.error(), (OpError{QStringLiteral("The restore failed. ") + reason, reason}));
        QVERIFY(kuma.kuma() == KumaState::stopped);
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
        QCOMPARE(kuma.busy(), QStringLiteral("Stopping…"));
        QVERIFY(world.operationEnds());
        QVERIFY(world.everythingEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QVERIFY(!kuma.error());
    }

    void cancelledRestoreDoesNotStart() {
        ControllerFixture world;
        startServer(world);
        world.backups.holds = true;
        restoreFrom(world, zip);
        world.controller().cancelOperation();
        QCOMPARE(world.backups.underWay, 1);
        world.backups.letGo();
        QVERIFY(world.operationEnds());
        QVERIFY(!world.controller().error());
        QCOMPARE(world.docker().container->state, std::string("exited"));
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
        const auto program = QStringLiteral(".local/share/Orvanel/");
        const auto kept = QStringLiteral("before-restore-2026-01-02-030405");
        const auto work = QStringLiteral(".orvanel-01234567-89AB-CDEF-0123-456789ABCDEF/");
        world.home.write(program + work + QStringLiteral("restoring"), "data/" + kept.toUtf8());
        world.home.write(program + work + QStringLiteral("data/kuma.db"), "half");
        world.home.write(program + QStringLiteral("Backups/") + kept + QStringLiteral("/kuma.db"), "the data");
        if (what == u"program") {
            kuma.begin();
            world.settle();
        } else if (what == u"server") {
            startServer(world);
        } else {
            kuma.revealDataFolder();
        }
        QFile file(kuma.dataDir() + QStringLiteral("/kuma.db"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("the data"));
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

QTEST_GUILESS_MAIN(TestRestoreOperations)
#include "TestRestoreOperations.moc"
