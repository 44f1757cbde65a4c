#include "controller/DataTurns.h"
#include "support/Await.h"
#include "support/TestClass.h"
#include "task/Event.h"
#include "task/TaskScope.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

QCoro::Task<void> hold(const DataTurns* turns, QStringList* begun, QString name, Event<> end) {
    const DataTurns::Turn turn = co_await turns->take();
    begun->append(name);
    co_await end;
}

} // namespace

class TestDataTurns : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void oneAfterTheOtherInTheOrderOfAsking() {
        const DataTurns turns;
        TaskScope tasks;
        QStringList begun;
        const Event<> first;
        const Event<> second;
        const Event<> third;
        QVERIFY(!turns.isTaken());
        tasks.start(hold(&turns, &begun, u"first"_s, first), {});
        tasks.start(hold(&turns, &begun, u"second"_s, second), {});
        tasks.start(hold(&turns, &begun, u"third"_s, third), {});
        // The first job has none before it, so it does not wait for even one turn of the event loop.
        QCOMPARE(begun, QStringList(u"first"_s));
        QVERIFY(turns.isTaken());
        third.complete();
        drainEvents();
        QCOMPARE(begun.size(), 1);
        first.complete();
        drainEvents();
        QCOMPARE(begun, (QStringList{u"first"_s, u"second"_s}));
        QVERIFY(turns.isTaken());
        second.complete();
        drainEvents();
        QCOMPARE(begun.size(), 3);
        QVERIFY(!turns.isTaken());
        QCOMPARE(tasks.running(), 0);
    }

    void turnOutlivesTheObject() {
        auto turns = std::make_unique<DataTurns>();
        const DataTurns::Turn turn = await(turns->take());
        auto waiting = turns->take();
        turns.reset();
        QVERIFY(turn != nullptr);
        QVERIFY(!waiting.isReady());
    }
};

ORVANEL_TEST(TestDataTurns)
#include "TestDataTurns.moc"
