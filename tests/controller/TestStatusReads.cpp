#include "ControllerFixture.h"
#include "support/Await.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

class TestStatusReads : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void statusPageIsReadTrimmedAndInSmallLetters_data() {
        QTest::addColumn<QString>("slug");
        QTest::addColumn<QString>("read"); // null = no read at all
        QTest::newRow("plain") << "home"
                               << "home";
        QTest::newRow("blanks and capitals") << " \t HoMe \n"
                                             << "home";
        QTest::newRow("blanks within") << " My Page "
                                       << "my page";
        QTest::newRow("slashes") << "/a/../B/"
                                 << "/a/../b/";
        QTest::newRow("other letters") << u"ÄÖÜ"_s << u"äöü"_s;
        QTest::newRow("emoji") << u"😀"_s << u"😀"_s;
        QTest::newRow("empty") << "" << QString();
        QTest::newRow("only blanks") << " \t\r\n " << QString();
        const QString half(1, QChar(0xD83D));
        QTest::newRow("half a character") << half + u"X"_s << half + u"x"_s;
    }

    void statusPageIsReadTrimmedAndInSmallLetters() {
        QFETCH(const QString, slug);
        QFETCH(const QString, read);
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setPort(4321);
        kuma.setSlug(slug);
        world.page.status = statusPage({monitor(1, 1)});
        QVERIFY(world.isPolledAsRunning());
        QCOMPARE(world.page.reads.size(), read.isNull() ? 0 : 1);
        QCOMPARE(kuma.state().monitors.size(), read.isNull() ? 0 : 1);
        if (!read.isNull()) {
            QCOMPARE(world.page.reads.first().slug, read);
            QCOMPARE(world.page.reads.first().port, 4321);
        }
    }

    void emptySlugKeepsWhatIsKnown() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(u"home"_s);
        world.page.status = statusPage({monitor(1, 1)}, u"My page"_s);
        QVERIFY(world.isPolledAsRunning());
        kuma.setSlug(u"  "_s);
        world.advance(60s);
        QCOMPARE(world.page.reads.size(), 1);
        QCOMPARE(kuma.state().statusTitle, u"My page"_s);
        QVERIFY(kuma.state().lastStatusUpdate.has_value());
    }

    void statusPageIsReadOnlyWhileTheServerRuns_data() {
        QTest::addColumn<QByteArray>("word");
        QTest::addColumn<bool>("answers");
        QTest::newRow("stopped") << QByteArray("exited") << true;
        QTest::newRow("starting") << QByteArray("running") << false;
        QTest::newRow("restarting") << QByteArray("restarting") << true;
    }

    void statusPageIsReadOnlyWhileTheServerRuns() {
        QFETCH(const QByteArray, word);
        QFETCH(const bool, answers);
        ControllerFixture world;
        world.controller().setSlug(u"home"_s);
        standin::addContainer(world.docker(), word.toStdString());
        world.page.answers = answers;
        world.controller().begin();
        world.advance(40s);
        QCOMPARE(world.page.reads.size(), 0);
        world.docker().container->state = "running";
        world.page.answers = true;
        world.advance(3s);
        QCOMPARE(world.page.reads.size(), 1);
    }

    void statusPageIsReadAtMostEveryThirtySeconds_data() {
        QTest::addColumn<bool>("fails");
        QTest::newRow("after a success") << false;
        QTest::newRow("after a failure") << true;
    }

    void statusPageIsReadAtMostEveryThirtySeconds() {
        QFETCH(const bool, fails);
        ControllerFixture world;
        world.controller().setSlug(u"home"_s);
        if (fails) {
            world.page.status = StatusPageError{u"No."_s};
        }
        QVERIFY(world.isPolledAsRunning());
        QCOMPARE(world.page.reads.size(), 1);
        world.advance(29999ms);
        QCOMPARE(world.page.reads.size(), 1);
        world.advance(1ms);
        QCOMPARE(world.page.reads.size(), 2);
        world.advance(300s);
        QCOMPARE(world.page.reads.size(), 12);
        for (qsizetype i = 1; i < world.page.reads.size(); ++i) {
            QVERIFY(world.page.reads.at(i).at - world.page.reads.at(i - 1).at >= 30s);
        }
    }

    void thirtySecondsCountFromTheRequest() {
        ControllerFixture world;
        world.controller().setSlug(u"home"_s);
        world.page.holdsReads = true;
        QVERIFY(world.isPolledAsRunning());
        world.advance(20s);
        world.page.letGo();
        world.settle();
        world.advance(12s);
        QCOMPARE(world.page.reads.size(), 2);
        QVERIFY(world.page.reads.last().at - world.page.reads.first().at < 33s);
    }

    void successIsPublished() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(u"home"_s);
        const QList<MonitorRow> rows{monitor(3, 1, u"C"_s), monitor(1, 0, u"A"_s), monitor(3, 1, u"C again"_s),
                                     monitor(2, std::nullopt)};
        world.page.status = statusPage(rows, u"My page"_s);
        QVERIFY(world.isPolledAsRunning());
        QCOMPARE(kuma.state().monitors, rows);
        QCOMPARE(kuma.state().statusTitle, u"My page"_s);
        QVERIFY(!kuma.state().statusError);
        QVERIFY(kuma.state().lastStatusUpdate == world.clock.wallTime());
        QVERIFY(kuma.health() == Health::someDown);
        QCOMPARE(kuma.statusLine(), u"1 down, 2 up"_s);
    }

    void failureIsPublishedAndKeepsTheRest() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(u"home"_s);
        world.page.status = statusPage({monitor(1, 1)}, u"My page"_s);
        QVERIFY(world.isPolledAsRunning());
        const auto updated = kuma.state().lastStatusUpdate;
        world.page.status = StatusPageError{u"Could not read the status page (HTTP 404)."_s};
        world.advance(30s);
        QCOMPARE(kuma.state().statusError, u"Could not read the status page (HTTP 404)."_s);
        QVERIFY(kuma.state().monitors.isEmpty());
        QCOMPARE(kuma.state().statusTitle, u"My page"_s);
        QVERIFY(kuma.state().lastStatusUpdate == updated);
        QVERIFY(kuma.state().kuma == KumaState::running);
        QVERIFY(!kuma.state().error);
        world.page.status = statusPage({monitor(1, 1)});
        world.advance(30s);
        QVERIFY(!kuma.state().statusError);
        QCOMPARE(kuma.state().monitors.size(), 1);
        QVERIFY(kuma.state().lastStatusUpdate != updated);
    }

    void slugChangedDuringAReadDropsItsResult() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(u"old"_s);
        world.page.holdsReads = true;
        QVERIFY(world.isPolledAsRunning());
        QCOMPARE(world.page.reads.size(), 1);
        kuma.setSlug(u"new"_s);
        world.page.reads.first().answer.complete(statusPage({monitor(1, 0)}, u"Old"_s));
        world.settle();
        QVERIFY(kuma.state().monitors.isEmpty());
        QCOMPARE(kuma.state().statusTitle, QString());
        QVERIFY(!kuma.state().lastStatusUpdate);
        QCOMPARE(world.notifier.authorizationRequests, 0);
        world.advance(3s);
        QCOMPARE(world.page.reads.size(), 2);
        QCOMPARE(world.page.reads.last().slug, u"new"_s);
        world.page.reads.last().answer.complete(statusPage({monitor(2, 1)}, u"New"_s));
        world.settle();
        QCOMPARE(kuma.state().statusTitle, u"New"_s);
        QCOMPARE(kuma.state().monitors, QList<MonitorRow>{monitor(2, 1)});
    }

    void slugChangedDuringAReadDropsItsFailureToo() {
        ControllerFixture world;
        world.controller().setSlug(u"old"_s);
        world.page.holdsReads = true;
        QVERIFY(world.isPolledAsRunning());
        world.controller().setSlug(QString());
        world.page.reads.first().answer.complete(StatusPageError{u"No."_s});
        world.settle();
        QVERIFY(!world.controller().state().statusError);
    }

    void slugThatIsReadTheSameWayKeepsTheResult() {
        ControllerFixture world;
        world.controller().setSlug(u"home"_s);
        world.page.holdsReads = true;
        QVERIFY(world.isPolledAsRunning());
        world.controller().setSlug(u" HOME"_s);
        world.page.reads.first().answer.complete(statusPage({monitor(1, 1)}));
        world.settle();
        QCOMPARE(world.controller().state().monitors.size(), 1);
    }

    void readThatEndsDuringAnOperationCounts() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(u"home"_s);
        world.page.holdsReads = true;
        QVERIFY(world.isPolledAsRunning());
        world.delay("inspect", 5s);
        kuma.stop();
        world.settle();
        world.page.reads.first().answer.complete(statusPage({monitor(1, 1)}));
        world.settle();
        QVERIFY(kuma.state().busy.has_value());
        QCOMPARE(kuma.state().monitors.size(), 1);
    }
};

ORVANEL_TEST(TestStatusReads)
#include "TestStatusReads.moc"
