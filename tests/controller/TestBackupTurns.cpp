#include "OperationsWorld.h"
#include "controller/BackupOperations.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

struct World : OperationsWorld {
    World() { runServer(); }

    void choosePath(const QString& path) {
        dialogs.pathQuestions.last().answer.complete(path);
        settle();
    }
    void backUp() {
        operationsOnBackups.backUpNow();
        choosePath(u"/media/stick/kuma.zip"_s);
    }
    void restore() {
        operationsOnBackups.restoreBackup();
        choosePath(u"/media/stick/kuma.zip"_s);
        dialogs.answerAll(true);
        settle();
    }

    BackupOperations operationsOnBackups{context, operations, containerOperations, dataTurns, dialogs, desktop,
                                         clock,   tasks};
};

} // namespace

/// Backups and restores take turns on the data; backups run beside the container, restores in its place.
class TestBackupTurns : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aBackupLeavesTheServerAlone() {
        World world;
        world.takeCommands();
        world.backups.holds = true;
        world.backUp();
        QCOMPARE((*world.state)->busy, std::optional(backingUpText()));
        QVERIFY(world.dataTurns.isTaken());
        QCOMPARE(world.backups.jobs.first().arguments,
                 (QStringList{world.files.dataDir(), u"/media/stick/kuma.zip"_s}));
        QVERIFY(world.desktop.revealed.isEmpty());
        world.backups.letGo();
        world.settle();
        QVERIFY(!(*world.state)->busy);
        QVERIFY(!world.dataTurns.isTaken());
        QCOMPARE(world.takeCommands(), QStringList());
        QCOMPARE(world.desktop.revealed, QStringList(u"/media/stick/kuma.zip"_s));
    }

    void nothingChosenNothingDone() {
        World world;
        world.operationsOnBackups.backUpNow();
        world.operationsOnBackups.restoreBackup();
        world.dialogs.answerAll(true);
        world.settle();
        QVERIFY(world.backups.jobs.isEmpty());
        QVERIFY(!(*world.state)->busy);
    }

    void aBackupThatFailsSaysWhy() {
        World world;
        world.backups.failure = u"The disk is full."_s;
        world.backUp();
        QCOMPARE((*world.state)->error, std::optional(OpError{u"The backup failed."_s, u"The disk is full."_s}));
        QVERIFY(world.desktop.revealed.isEmpty());
    }

    void aRestoreStopsReplacesAndStartsAgain() {
        World world;
        std::string stateMeanwhile;
        world.backups.onWork = [&](const ScriptedBackups::Job&) {
            stateMeanwhile = world.docker.state().container->state;
        };
        world.restore();
        QCOMPARE(world.message(), QString());
        QCOMPARE(stateMeanwhile, std::string("exited"));
        QCOMPARE(world.docker.state().container->state, std::string("running"));
        QCOMPARE(world.backups.jobs.first().arguments.first(), u"/media/stick/kuma.zip"_s);
    }

    void aRestoreWaitsForTheBackupBeforeItWithTheServerRunning() {
        World world;
        world.backups.holds = true;
        world.backUp();
        world.restore();
        QCOMPARE(world.backups.jobs.size(), 1);
        QCOMPARE(world.docker.state().container->state, std::string("running"));
        world.backups.letGo();
        world.settle();
        QCOMPARE(world.backups.jobs.size(), 2);
        QCOMPARE(world.backups.jobs.last().kind, u"restore"_s);
        QVERIFY(!world.dataTurns.isTaken());
    }

    void aRestoreThatIsCancelledWhileItWaitsTouchesNothing() {
        World world;
        world.backups.holds = true;
        world.backUp();
        world.takeCommands();
        world.restore();
        world.operations->cancel();
        world.backups.letGo();
        world.settle();
        QCOMPARE(world.backups.jobs.size(), 1);
        QCOMPARE(world.message(), u"Cancelled."_s);
        QCOMPARE(world.takeCommands(), QStringList());
    }

    void aRestoreThatFailsLeavesTheServerStopped() {
        World world;
        world.backups.failure = u"It is empty."_s;
        world.restore();
        QCOMPARE(world.message(), u"The restore failed. It is empty."_s);
        QCOMPARE(world.docker.state().container->state, std::string("exited"));
    }
};

ORVANEL_TEST(TestBackupTurns)
#include "TestBackupTurns.moc"
