#include "ControllerFixture.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

using Status = std::optional<std::int64_t>;

const MonitorNews isDown{u"Web is down"_s, u"Uptime Kuma reports this monitor as down."_s};
const MonitorNews isBack{u"Web is back up"_s, u"This monitor is up again."_s};

} // namespace

/// The news of a program that reads its status page repeatedly.
class TestMonitorTransitions : public QObject {
    Q_OBJECT

    /// Reads a page with these rows, one period after the last read.
    static void read(ControllerFixture& world, const QList<MonitorRow>& rows) {
        world.page.status = statusPage(rows);
        if (world.page.reads.isEmpty()) {
            world.controller().setSlug(u"home"_s);
            QVERIFY(world.isPolledAsRunning());
        } else {
            world.advance(30s);
        }
    }

private Q_SLOTS:
    void longNameLeavesRoomForTheNews() {
        ControllerFixture world;
        MonitorRow row = monitor(5, 1);
        row.name = QString(1000, u'x');
        read(world, {row});
        row.status = 0;
        read(world, {row});
        const QString title = world.notifier.posted.value(0).title;
        QVERIFY2(title.endsWith(u"x… is down"), qPrintable(title));
        QVERIFY(title.size() < 200);
    }

    void newsOfASeriesOfReads_data() {
        QTest::addColumn<QList<Status>>("statuses");
        QTest::addColumn<QList<MonitorNews>>("news");
        const QList<MonitorNews> none;
        const Status noStatus;
        QTest::newRow("down at the first read") << QList<Status>{0} << none;
        QTest::newRow("down, and still down") << QList<Status>{0, 0} << none;
        QTest::newRow("goes down") << QList<Status>{1, 0} << QList<MonitorNews>{isDown};
        QTest::newRow("goes down and comes back") << QList<Status>{1, 0, 1} << QList<MonitorNews>{isDown, isBack};
        QTest::newRow("again and again") << QList<Status>{1, 0, 1, 0, 0, 1}
                                         << QList<MonitorNews>{isDown, isBack, isDown, isBack};
        QTest::newRow("first seen down, comes up") << QList<Status>{0, 1} << QList<MonitorNews>{isBack};
        QTest::newRow("down by way of pending") << QList<Status>{1, 2, 0} << none;
        QTest::newRow("up by way of pending") << QList<Status>{0, 2, 1} << none;
        QTest::newRow("maintenance") << QList<Status>{1, 3, 0, 3, 1} << none;
        QTest::newRow("without a status between") << QList<Status>{1, noStatus, 0} << none;
        QTest::newRow("an unknown code between") << QList<Status>{1, 7, 0} << none;
    }

    void newsOfASeriesOfReads() {
        QFETCH(const QList<Status>, statuses);
        ControllerFixture world;
        for (const Status& status : statuses) {
            read(world, {monitor(5, status)});
        }
        QCOMPARE(world.page.reads.size(), statuses.size());
        QTEST(world.notifier.posted, "news");
    }

    void monitorThatWasGoneIsSeenForTheFirstTime() {
        ControllerFixture world;
        read(world, {monitor(5, 1)});
        read(world, {});
        read(world, {monitor(5, 0)});
        QVERIFY(world.notifier.posted.isEmpty());
        read(world, {monitor(5, 1)});
        QCOMPARE(world.notifier.posted, QList<MonitorNews>{isBack});
    }

    void monitorAddedLaterIsSeenForTheFirstTime() {
        ControllerFixture world;
        read(world, {monitor(1, 1)});
        read(world, {monitor(1, 1), monitor(5, 0)});
        QVERIFY(world.notifier.posted.isEmpty());
    }

    void monitorListedTwiceIsRememberedAsItsLastRow() {
        ControllerFixture world;
        read(world, {monitor(5, 1)});
        read(world, {monitor(5, 0), monitor(5, 1)});
        QCOMPARE(world.notifier.posted, QList<MonitorNews>{isDown});
        world.notifier.posted.clear();
        read(world, {monitor(5, 0), monitor(5, 0)});
        QCOMPARE(world.notifier.posted, (QList<MonitorNews>{isDown, isDown}));
    }

    void failedReadsAreNotCompared() {
        ControllerFixture world;
        read(world, {monitor(5, 1)});
        world.page.status = StatusPageError{u"No."_s};
        world.advance(60s);
        QVERIFY(world.notifier.posted.isEmpty());
        read(world, {monitor(5, 0)});
        QCOMPARE(world.notifier.posted, QList<MonitorNews>{isDown});
    }

    void anotherPageIsComparedWithNothing() {
        ControllerFixture world;
        read(world, {monitor(5, 1)});
        world.controller().setSlug(u"other"_s);
        read(world, {monitor(5, 0)});
        QVERIFY(world.notifier.posted.isEmpty());
        read(world, {monitor(5, 1)});
        QCOMPARE(world.notifier.posted, QList<MonitorNews>{isBack});
    }

    void newsComeBeforeTheRows() {
        ControllerFixture world;
        read(world, {monitor(5, 1)});
        const QList<MonitorRow> rows{monitor(5, 0)};
        qsizetype newsWithTheRows = -1;
        QObject::connect(&world.controller(), &KumaController::changed, this, [&] {
            if (newsWithTheRows < 0 && world.controller().state().monitors == rows) {
                newsWithTheRows = world.notifier.posted.size();
            }
        });
        read(world, rows);
        QCOMPARE(newsWithTheRows, 1);
    }

    void leaveIsAskedForAfterTheRows() {
        ControllerFixture world;
        QList<MonitorRow> shown;
        QObject::connect(&world.controller(), &KumaController::changed, this, [&] {
            if (world.notifier.authorizationRequests == 0) {
                shown = world.controller().state().monitors;
            }
        });
        read(world, {monitor(5, 1)});
        QCOMPARE(world.notifier.authorizationRequests, 1);
        QCOMPARE(shown, QList<MonitorRow>{monitor(5, 1)});
    }

    void leaveIsAskedForOnceAtTheFirstSuccess() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(u"home"_s);
        world.page.status = StatusPageError{u"No."_s};
        QVERIFY(world.isPolledAsRunning());
        QCOMPARE(world.notifier.authorizationRequests, 0);
        read(world, {});
        QCOMPARE(world.notifier.authorizationRequests, 1);
        read(world, {monitor(1, 1)});
        kuma.setSlug(u"other"_s);
        world.advance(60s);
        QCOMPARE(world.notifier.authorizationRequests, 1);
    }

    void leaveIsNeverAskedForWithoutAPage() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        world.advance(120s);
        QCOMPARE(world.notifier.authorizationRequests, 0);
    }

    void programThatMayNotPostIsSilentUntilItMay() {
        ControllerFixture world;
        world.notifier.may = false;
        read(world, {monitor(5, 1)});
        read(world, {monitor(5, 0)});
        QCOMPARE(world.notifier.authorizationRequests, 0);
        QVERIFY(world.notifier.posted.isEmpty());
        // News that could not be posted is not posted later, but the statuses were still recorded.
        world.notifier.may = true;
        read(world, {monitor(5, 0)});
        QCOMPARE(world.notifier.authorizationRequests, 1);
        QVERIFY(world.notifier.posted.isEmpty());
        read(world, {monitor(5, 1)});
        QCOMPARE(world.notifier.posted, QList<MonitorNews>{isBack});
    }

    void newProgramStartsWithoutAMemory() {
        ControllerFixture world;
        read(world, {monitor(5, 1)});
        world.page.status = statusPage({monitor(5, 0)});
        world.restartProgram().begin();
        world.settle();
        QCOMPARE(world.controller().state().monitors.size(), 1);
        QVERIFY(world.notifier.posted.isEmpty());
        QCOMPARE(world.notifier.authorizationRequests, 2);
    }
};

ORVANEL_TEST(TestMonitorTransitions)
#include "TestMonitorTransitions.moc"
