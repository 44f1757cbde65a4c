#include "BackupClicks.h"
#include "UpdateSteps.h"
#include "support/TestClass.h"
#include "task/TaskScope.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

/// Does what the shell does for a user who wants the container stopped at the end.
QCoro::Task<void> quit(KumaController* kuma) {
    kuma->shutdownPolling();
    co_await kuma->runStop();
}

void requestOperation(ControllerFixture& world, const QString& operation) {
    if (operation == u"update") {
        confirmUpdate(world);
    } else if (operation == u"restore") {
        restoreFrom(world, u"/home/ann/Backup.zip"_s);
    } else if (operation == u"restart") {
        world.controller().restart();
    } else {
        world.controller().start();
    }
    world.settle();
}

} // namespace

/// Quitting in the middle of an operation, and what it leaves behind.
class TestQuitDuringOperation : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void duringTheDownloadOfAnUpdate_data() {
        QTest::addColumn<bool>("compose");
        QTest::newRow("compose") << true;
        QTest::newRow("plain") << false;
    }

    /// The program ends a few turns of the event loop later, so only what is stored at once counts.
    void duringTheDownloadOfAnUpdate() {
        QFETCH(const bool, compose);
        ControllerFixture world;
        world.docker().compose = compose;
        prepareUpdate(world);
        world.hang(compose ? "compose pull" : "pull");
        confirmUpdate(world);
        verifyPinned(world, newTag);
        QCOMPARE(storedTag(world), newTag);
        world.controller().shutdownPolling();
        verifyPinned(world, oldTag);
        QCOMPARE(storedTag(world), oldTag);

        QVERIFY(world.operationEnds());
        QCOMPARE(world.controller().state().error->message, u"Cancelled."_s);
        verifyUntouched(world);
        QCOMPARE(world.restartProgram().state().imageTag, oldTag);
    }

    void duringTheProbeBeforeTheDownloadOfAnUpdate() {
        ControllerFixture world;
        prepareUpdate(world);
        world.controller().setDockerOverride(QString());
        world.controller().recheck();
        world.delay("compose version", 5s);
        world.settle();
        confirmUpdate(world);
        QCOMPARE(world.underWay().last(), u"compose version"_s);
        QCOMPARE(storedTag(world), newTag);
        world.controller().shutdownPolling();
        QCOMPARE(storedTag(world), oldTag);
        QVERIFY(world.operationEnds());
        verifyUntouched(world);
    }

    void tagChosenDuringTheDownloadStays() {
        ControllerFixture world;
        prepareUpdate(world);
        world.hang("compose pull");
        confirmUpdate(world);
        world.controller().setImageTag(u"nightly"_s);
        world.controller().shutdownPolling();
        verifyPinned(world, u"nightly"_s);
        QCOMPARE(storedTag(world), u"nightly"_s);
    }

    void duringTheBackupBeforeAnUpdate() {
        ControllerFixture world;
        prepareUpdate(world);
        QStringList tags;
        const KumaController& kuma = world.controller();
        QObject::connect(&kuma, &KumaController::changed, &kuma, [&] { tags.append(kuma.state().imageTag); });
        world.backups.holds = true;
        confirmUpdate(world);
        world.controller().shutdownPolling();
        world.backups.letGo();
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().error, (OpError{u"Cancelled."_s, QString()}));
        verifyUntouched(world);
        // The new tag must not be pinned even for a moment, which might be the program's last.
        QVERIFY(!tags.isEmpty() && !tags.contains(newTag));
    }

    void theContainerStaysStopped_data() {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<bool>("compose");
        QTest::addColumn<QString>("stage");
        for (const bool compose : {true, false}) {
            const char* how = compose ? "compose" : "plain";
            QTest::addRow("update, backup, %s", how) << "update" << compose << "backup";
            QTest::addRow("update, probe after the download, %s", how) << "update" << compose << "inspect";
            QTest::addRow("restore, %s", how) << "restore" << compose << "backup";
            QTest::addRow("restart, runtime, %s", how) << "restart" << compose << "info";
            QTest::addRow("restart, image, %s", how) << "restart" << compose << "image inspect";
            QTest::addRow("start, compose, %s", how) << "start" << compose << "compose version";
        }
        QTest::newRow("update, old container, plain") << "update" << false << "rm";
    }

    /// The container must stay stopped whatever the operation was doing when it was stopped.
    void theContainerStaysStopped() {
        QFETCH(const QString, operation);
        QFETCH(const bool, compose);
        QFETCH(const QString, stage);
        ControllerFixture world;
        world.docker().compose = compose;
        prepareUpdate(world);
        KumaController& kuma = world.controller();
        world.backups.holds = stage == u"backup";
        if (stage == u"compose version") {
            kuma.setDockerOverride(QString());
        }
        world.delay(qPrintable(stage), 10s, 1);
        requestOperation(world, operation);
        QVERIFY(kuma.state().busy);
        QVERIFY(world.backups.holds ? world.backups.underWay == 1 : world.underWay() == QStringList(stage));

        TaskScope tasks;
        tasks.start(quit(&kuma), u"quit"_s);
        world.advance(1s);
        QCOMPARE(tasks.running(), 0);
        QCOMPARE(world.docker().container->state, std::string("exited"));
        world.backups.letGo();
        QVERIFY(world.operationEnds());
        QVERIFY(!world.docker().container || world.docker().container->state == "exited");
        QCOMPARE(kuma.state().error->message, u"Cancelled."_s);
    }

    void nothingIsDownloaded() {
        ControllerFixture world;
        prepareUpdate(world);
        KumaController& kuma = world.controller();
        world.docker().images.clear();
        world.delay("image inspect", 20s, 1);
        kuma.restart();
        world.settle();
        QCOMPARE(world.underWay(), names({"image inspect"}));
        kuma.shutdownPolling();
        QVERIFY(world.operationEnds());
        QVERIFY(world.docker().images.empty());
        QCOMPARE(world.docker().container->state, std::string("exited"));
        QCOMPARE(kuma.state().error->message, u"Cancelled."_s);
    }

    void pollingThatBeginsAnewBringsUpAgain() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.shutdownPolling();
        kuma.begin();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QCOMPARE(world.docker().container->state, std::string("running"));
    }

    void afterTheDownloadTheNewVersionStays() {
        ControllerFixture world;
        prepareUpdate(world);
        world.delay("inspect", 5s, 1);
        confirmUpdate(world);
        world.advance(1s);
        QCOMPARE(world.controller().state().busy, u"Restarting with the new version…"_s);
        world.controller().shutdownPolling();
        verifyPinned(world, newTag);
        QCOMPARE(storedTag(world), newTag);
        QVERIFY(world.operationEnds());
        verifyPinned(world, newTag);
    }
};

ORVANEL_TEST(TestQuitDuringOperation)
#include "TestQuitDuringOperation.moc"
