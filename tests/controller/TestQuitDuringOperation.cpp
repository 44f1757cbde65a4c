#include "UpdateSteps.h"

using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

/// The end of the program in the middle of an operation: what it leaves behind.
class TestQuitDuringOperation : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void duringTheDownloadOfAnUpdate_data() {
        QTest::addColumn<bool>("compose");
        QTest::newRow("compose") << true;
        QTest::newRow("plain") << false;
    }

    /// The program ends a few turns of the event loop later: what counts is what is there at once.
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
        QCOMPARE(world.controller().error()->message, QStringLiteral("Cancelled."));
        verifyUntouched(world);
        QCOMPARE(world.restartProgram().imageTag(), oldTag);
    }

    void duringTheProbeBeforeTheDownloadOfAnUpdate() {
        ControllerFixture world;
        prepareUpdate(world);
        world.controller().setDockerOverride(QString());
        world.controller().recheck();
        world.delay("compose version", 5s);
        world.settle();
        confirmUpdate(world);
        QCOMPARE(world.underWay().last(), QStringLiteral("compose version"));
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
        world.controller().setImageTag(QStringLiteral("nightly"));
        world.controller().shutdownPolling();
        verifyPinned(world, QStringLiteral("nightly"));
        QCOMPARE(storedTag(world), QStringLiteral("nightly"));
    }

    void afterTheDownloadTheNewVersionStays() {
        ControllerFixture world;
        prepareUpdate(world);
        world.delay("inspect", 5s, 1);
        confirmUpdate(world);
        world.advance(1s);
        QCOMPARE(world.controller().busy(), QStringLiteral("Restarting with the new version…"));
        world.controller().shutdownPolling();
        verifyPinned(world, newTag);
        QCOMPARE(storedTag(world), newTag);
        QVERIFY(world.operationEnds());
        verifyPinned(world, newTag);
    }
};

QTEST_GUILESS_MAIN(TestQuitDuringOperation)
#include "TestQuitDuringOperation.moc"
