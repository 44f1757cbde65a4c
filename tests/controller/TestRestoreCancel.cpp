#include "BackupClicks.h"
#include "support/Await.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto zip = u"/home/ann/Backup.zip"_s;

} // namespace

/// Whether a cancelled restore leaves the server running.
class TestRestoreCancel : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cancelWhileABackupIsUnderWayRestoresNothing() {
        ControllerFixture world;
        startServer(world);
        world.backups.holds = true;
        backUpTo(world, zip);
        restoreFrom(world, zip);
        world.controller().cancelOperation();
        world.backups.letGo();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.backups.jobs.size(), 1);
        QCOMPARE(world.docker().container->state, std::string("running"));
        QVERIFY(!world.takeCommands().contains(u"compose stop"_s));
        QCOMPARE(world.controller().state().error, (OpError{u"Cancelled."_s, u"Nothing was restored."_s}));
    }

    void cancelDuringTheStopStartsTheServerAgain() {
        ControllerFixture world;
        startServer(world);
        world.controller().begin();
        world.settle();
        QVERIFY(world.controller().state().kuma == KumaState::running);
        world.delay("compose stop", 2s, 1);
        restoreFrom(world, zip);
        world.controller().cancelOperation();
        QVERIFY(world.operationEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QCOMPARE(world.docker().container->state, std::string("running"));
        QVERIFY(world.takeCommands().contains(u"compose stop"_s));
        QCOMPARE(world.controller().state().error, (OpError{u"Cancelled."_s, u"Nothing was restored."_s}));
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
        QVERIFY(!world.controller().state().error);
        QCOMPARE(world.docker().container->state, std::string("exited"));
    }

    void restoreCancelledBeforeItMovedAnythingStartsTheServerAgain() {
        ControllerFixture world;
        startServer(world);
        world.controller().begin();
        world.settle();
        world.backups.holds = true;
        world.backups.restoreNoticesCancel = true;
        restoreFrom(world, zip);
        QCOMPARE(world.backups.underWay, 1);
        world.controller().cancelOperation();
        world.backups.letGo();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.controller().state().error, (OpError{u"Cancelled."_s, u"Nothing was restored."_s}));
        QCOMPARE(world.docker().container->state, std::string("running"));
        QVERIFY(world.controller().state().kuma == KumaState::running);
    }
};

ORVANEL_TEST(TestRestoreCancel)
#include "TestRestoreCancel.moc"
