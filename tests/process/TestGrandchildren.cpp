#include "ChildRuns.h"
#include "support/FakeClock.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

/// Runs whose child has children of its own, which may outlive it and hold its pipe open.
class TestGrandchildren : public QObject {
    Q_OBJECT

    FakeClock m_clock;

private Q_SLOTS:
    void signalGoesToTheWholeGroup() {
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const auto handle = std::make_shared<ProcessHandle>();
        auto task = runChild(&runner, {u"shield-grandchild"_s}, handle, live.callback());
        QVERIFY(live.arrives(u"ready"_s));
        handle->cancel();
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.output, u"ready grandchild was signalled"_s);
        QCOMPARE(result.status, 5);
    }

    void grandchildIsReadToItsEnd() {
        const TestHome home;
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const QStringList arguments{u"leave-grandchild"_s, home.path(u"go"_s)};
        auto task = runChild(&runner, arguments, {}, live.callback());
        QVERIFY(endsUnreaped(live));
        QVERIFY(!task.isReady());
        home.write(u"go"_s, {});
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.status, 6);
        QVERIFY(result.output.endsWith(u" late"_s));
        QCOMPARE(live.text(), result.output);
    }

    /// The grandchild is left alone, because a tool may leave a service behind on purpose.
    void grandchildIsReadNoLongerThanTheTimeLimit() {
        const TestHome home;
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const QStringList arguments{u"leave-grandchild"_s, home.path(u"go"_s)};
        auto task = runChild(&runner, arguments, {}, live.callback(), 10s);
        QVERIFY(endsUnreaped(live));
        m_clock.advance(9999ms);
        QVERIFY(!task.isReady());
        m_clock.advance(1ms);
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.status, 6);
        QVERIFY(!result.timedOut);
        QVERIFY(!result.cancelled);
        QCOMPARE(result.output, live.text());
        home.write(u"go"_s, {});
        QVERIFY(waitUntil([&] { return QFile::exists(home.path(u"go.survived"_s)); }));
    }

    void cancelEndsTheWaitForAGrandchild() {
        const TestHome home;
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const auto handle = std::make_shared<ProcessHandle>();
        const QStringList arguments{u"leave-grandchild"_s, home.path(u"go"_s)};
        auto task = runChild(&runner, arguments, handle, live.callback());
        QVERIFY(endsUnreaped(live));
        const qint64 grandchild = saidId(live, 1);
        QVERIFY(grandchild > 0);
        handle->cancel();
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.status, 6);
        QVERIFY(result.cancelled);
        QVERIFY(!result.timedOut);
        QVERIFY(waitUntil([&] { return processState(grandchild) == ' ' || processState(grandchild) == 'Z'; }));
    }

    void cancelEndsTheWaitForAnEndlessTalker() {
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const auto handle = std::make_shared<ProcessHandle>();
        auto task = runChild(&runner, {u"leave-chatterer"_s}, handle, live.callback());
        QVERIFY(endsUnreaped(live));
        QVERIFY(live.arrives(u"gggg"_s));
        handle->cancel();
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.status, 6);
        QVERIFY(result.cancelled);
    }

    void grandchildIsNotWaitedForAfterTheTimeLimit() {
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const QStringList arguments{u"stay-with-stubborn-grandchild"_s};
        auto task = runChild(&runner, arguments, {}, live.callback(), 10s);
        QVERIFY(live.arrives(u"ready"_s));
        m_clock.advance(10s);
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.status, terminated);
        QVERIFY(result.timedOut);
    }

    void grandchildIsNotWaitedForAfterACancel() {
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const auto handle = std::make_shared<ProcessHandle>();
        auto task = runChild(&runner, {u"stay-with-stubborn-grandchild"_s}, handle, live.callback());
        QVERIFY(live.arrives(u"ready"_s));
        handle->cancel();
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.status, terminated);
        QVERIFY(result.cancelled);
    }
};

ORVANEL_TEST(TestGrandchildren)
#include "TestGrandchildren.moc"
