#include "ControllerFixture.h"
#include "RecordingPlatform.h"
#include "controller/StatusWatch.h"
#include "support/Await.h"
#include "support/FakeClock.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

/// A StatusWatch on a page that answers at once.
struct World {
    World() {
        state.update([](ControllerState& next) {
            next.port = 3001;
            next.slug = u" Home "_s;
            next.kuma = KumaState::running;
        });
    }

    void showMonitor(std::int64_t status) {
        answer =
            StatusPageData{.title = u"Home"_s, .monitors = {MonitorRow{.id = 1, .name = u"Web"_s, .status = status}}};
    }

    void read() { await(watch.fetchWhenDue()); }

    FakeClock clock;
    RecordingNotifier notifier;
    StateStore state{[] {}};
    StatusPageResult answer = StatusPageData{};
    QStringList asked;
    /// Called while the page is read.
    std::function<void()> meanwhile = [] {};
    StatusWatch watch{state, clock, notifier, [this](int port, QString slug) { return fetch(port, slug); }};

private:
    QCoro::Task<StatusPageResult> fetch(int port, QString slug) {
        asked.append(u"%1 %2"_s.arg(port).arg(slug));
        meanwhile();
        co_return answer;
    }
};

} // namespace

class TestStatusWatch : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// Nearly every reading brings new heartbeats. They are shown, and are no news.
    void newHeartbeatsAreNoNews() {
        World world;
        world.showMonitor(1);
        world.read();
        for (const QStringView letters : {u"u", u"ud", u"udu", u"uduu"}) {
            world.showMonitor(1);
            MonitorRow& row = std::get<StatusPageData>(world.answer).monitors.first();
            row.beats = heartbeats(letters);
            const QList<MonitorRow> expected{row};
            world.clock.advance(30s);
            world.read();
            QCOMPARE(world.state->monitors, expected);
        }
        QCOMPARE(world.notifier.posted.size(), 0);
    }

    void thePageIsReadAtMostEveryThirtySeconds() {
        World world;
        world.read();
        QCOMPARE(world.asked, QStringList(u"3001 home"_s));
        world.clock.advance(29'999ms);
        world.read();
        QCOMPARE(world.asked.size(), 1);
        world.clock.advance(1ms);
        world.read();
        QCOMPARE(world.asked.size(), 2);
    }

    void nothingIsReadWhileThereIsNothingToRead_data() {
        QTest::addColumn<QString>("what");
        QTest::newRow("stopped") << u"stopped"_s;
        QTest::newRow("operation") << u"operation"_s;
        QTest::newRow("no page") << u"no page"_s;
    }

    void nothingIsReadWhileThereIsNothingToRead() {
        QFETCH(const QString, what);
        World world;
        world.state.update([&what](ControllerState& state) {
            if (what == u"stopped") {
                state.kuma = KumaState::starting;
            } else if (what == u"operation") {
                state.busy = u"Stopping…"_s;
            } else {
                state.slug = u"  "_s;
            }
        });
        world.read();
        QCOMPARE(world.asked, QStringList());
    }

    void aMonitorThatGoesDownAndComesBackIsNews() {
        World world;
        world.showMonitor(1);
        world.read();
        QCOMPARE(world.notifier.posted, QList<MonitorNews>());
        QCOMPARE(world.notifier.authorizationRequests, 1);
        world.showMonitor(0);
        world.clock.advance(30s);
        world.read();
        QCOMPARE(world.notifier.posted.size(), 1);
        QCOMPARE(world.notifier.posted.last().title, u"Web is down"_s);
        world.showMonitor(1);
        world.clock.advance(30s);
        world.read();
        QCOMPARE(world.notifier.posted.last().title, u"Web is back up"_s);
        QCOMPARE(world.notifier.authorizationRequests, 1);
    }

    void aFailedReadingKeepsTheBaseline() {
        World world;
        world.showMonitor(1);
        world.read();
        world.answer = StatusPageError{u"No."_s};
        world.clock.advance(30s);
        world.read();
        QCOMPARE(world.state->statusError, u"No."_s);
        QVERIFY(world.state->monitors.isEmpty());
        world.showMonitor(0);
        world.clock.advance(30s);
        world.read();
        QCOMPARE(world.notifier.posted.size(), 1);
    }

    void anotherPageIsNoNewsAndDueAtOnce() {
        World world;
        world.showMonitor(1);
        world.read();
        world.state.set(&ControllerState::slug, u"other"_s);
        world.watch.forget();
        QVERIFY(world.state->monitors.isEmpty());
        world.showMonitor(0);
        world.read();
        QCOMPARE(world.asked.last(), u"3001 other"_s);
        QCOMPARE(world.notifier.posted, QList<MonitorNews>());
    }

    void theAnswerOfAPageThatIsNoLongerWantedIsDropped() {
        World world;
        world.showMonitor(1);
        world.meanwhile = [&world] { world.state.set(&ControllerState::slug, u"other"_s); };
        world.read();
        QVERIFY(world.state->monitors.isEmpty());
        QVERIFY(!world.state->lastStatusUpdate);
    }
};

ORVANEL_TEST(TestStatusWatch)
#include "TestStatusWatch.moc"
