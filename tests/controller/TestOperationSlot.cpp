#include "controller/OperationSlot.h"
#include "support/Await.h"
#include "support/TestClass.h"
#include "task/Event.h"

#include <QTest>

#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

/// A slot, and an operation that the test can end.
struct World {
    TaskScope tasks;
    OperationSlot slot{tasks};
    Event<Outcome> end;
    QList<Outcome> outcomes;
    bool wasFreeAtTheEnd = false;
    bool wasStopRequested = false;

    QCoro::Task<Outcome> waitForEnd(std::stop_token stop) {
        const Outcome outcome = co_await end;
        wasStopRequested = stop.stop_requested();
        co_return outcome;
    }

    bool begin() {
        return slot.begin(
            u"operation"_s, [this](std::stop_token stop) { return waitForEnd(stop); },
            [this](const Outcome& outcome, const std::stop_token&) {
                wasFreeAtTheEnd = !slot.isTaken();
                outcomes.append(outcome);
            });
    }
};

QCoro::Task<Outcome> throwAtOnce(std::stop_token) {
    throw std::runtime_error("the disk melted");
    co_return std::nullopt;
}

} // namespace

class TestOperationSlot : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void oneOperationAtATime() {
        World world;
        QVERIFY(!world.slot.isTaken());
        QVERIFY(world.begin());
        QVERIFY(world.slot.isTaken());
        QVERIFY(!world.begin());
        QCOMPARE(world.slot.generation(), 1);
        world.end.complete(std::nullopt);
        drainEvents();
        QVERIFY(!world.slot.isTaken());
        QVERIFY(world.wasFreeAtTheEnd);
        QCOMPARE(world.outcomes.size(), 1);
        QVERIFY(!world.outcomes.first());
        QVERIFY(world.begin());
        QCOMPARE(world.slot.generation(), 2);
        drainEvents();
    }

    void aFailureIsTheOutcome() {
        World world;
        QVERIFY(world.begin());
        world.end.complete(Failure{.error = {u"No."_s, u"why"_s}, .suggestedPort = 3002});
        drainEvents();
        QCOMPARE(world.outcomes.size(), 1);
        QCOMPARE(world.outcomes.first()->error, (OpError{u"No."_s, u"why"_s}));
        QCOMPARE(world.outcomes.first()->suggestedPort, std::optional(3002));
    }

    void whatIsThrownIsAFailure() {
        World world;
        QVERIFY(
            world.slot.begin(u"operation"_s, &throwAtOnce, [&world](const Outcome& outcome, const std::stop_token&) {
                world.outcomes.append(outcome);
            }));
        drainEvents();
        QCOMPARE(world.outcomes.size(), 1);
        QCOMPARE(world.outcomes.first()->error, (OpError{u"Orvanel hit an internal error."_s, u"the disk melted"_s}));
        QVERIFY(!world.slot.isTaken());
    }

    void cancelReachesTheOperationAndItsChild() {
        World world;
        world.slot.cancel();
        QVERIFY(world.begin());
        const std::shared_ptr<ProcessHandle> handle = world.slot.handle();
        QVERIFY(!handle->isCancelled());
        world.slot.cancel();
        QVERIFY(handle->isCancelled());
        world.end.complete(std::nullopt);
        drainEvents();
        QVERIFY(world.wasStopRequested);
        QVERIFY(!world.slot.handle());
    }

    void cancellingTheChildLetsTheOperationGoOn() {
        World world;
        QVERIFY(world.begin());
        world.slot.cancelChild();
        QVERIFY(world.slot.handle()->isCancelled());
        world.end.complete(std::nullopt);
        drainEvents();
        QVERIFY(!world.wasStopRequested);
    }
};

ORVANEL_TEST(TestOperationSlot)
#include "TestOperationSlot.moc"
