#include "ChildRuns.h"
#include "process/ChildProcess.h"
#include "support/FakeClock.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

#include <csignal>
#include <limits>
#include <semaphore>
#include <thread>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

/// Runs that end early or late, by a time limit or by a cancel.
class TestProcessStop : public QObject {
    Q_OBJECT

    FakeClock m_clock;

private Q_SLOTS:
    void timeLimitEndsTheChild() {
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        auto task = runChild(&runner, {u"stay"_s}, {}, live.callback(), 10s);
        QVERIFY(live.arrives(u"ready"_s));
        QCOMPARE(m_clock.untilNextTimer(), 10s);
        m_clock.advance(9999ms);
        QCOMPARE(m_clock.pendingTimers(), 1);
        QVERIFY(!task.isReady());
        m_clock.advance(1ms);
        const CommandResult result = await(std::move(task));
        QVERIFY(result.timedOut);
        QVERIFY(!result.cancelled);
        QCOMPARE(result.status, terminated);
        QCOMPARE(result.output, u"ready"_s);
        QVERIFY(!result.isSuccess());
    }

    void timeLimitIsForgottenWhenTheChildEndsBefore() {
        ProcessRunner runner(&m_clock);
        auto task = runChild(&runner, {u"exit"_s, u"0"_s}, {}, {}, 10s);
        const CommandResult result = await(std::move(task));
        QCOMPARE(m_clock.pendingTimers(), 0);
        m_clock.advance(1h);
        QVERIFY(!result.timedOut);
    }

    void timeLimits_data() {
        QTest::addColumn<double>("seconds");
        QTest::addColumn<std::chrono::milliseconds>("timer");
        constexpr std::chrono::milliseconds most{std::numeric_limits<int>::max()};
        QTest::newRow("part of a second") << 2.5 << 2500ms;
        QTest::newRow("never early") << 0.0001 << 1ms;
        QTest::newRow("none") << 0.0 << 0ms;
        QTest::newRow("negative") << -3.0 << 0ms;
        QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << 0ms;
        QTest::newRow("endless") << std::numeric_limits<double>::infinity() << most;
    }

    void timeLimits() {
        QFETCH(const double, seconds);
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const auto handle = std::make_shared<ProcessHandle>();
        const std::chrono::duration<double> timeout(seconds);
        auto task = runChild(&runner, {u"stay"_s}, handle, live.callback(), timeout);
        QVERIFY(live.arrives(u"ready"_s));
        QTEST(m_clock.untilNextTimer(), "timer");
        handle->cancel();
        await(std::move(task));
    }

    void handleCancelledBeforeStartsNothing() {
        ProcessRunner runner(&m_clock);
        const auto handle = std::make_shared<ProcessHandle>();
        handle->cancel();
        auto task = runner.run(u"/does/not/exist"_s, {}, noLimit, handle);
        QVERIFY(task.isReady());
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.status, -1);
        QCOMPARE(result.output, QString());
        QVERIFY(result.cancelled);
        QVERIFY(!result.timedOut);
    }

    void cancelBeforeTheThreadGetsToItStartsNothing() {
        ProcessRunner runner(&m_clock);
        std::binary_semaphore isBusy{0};
        std::binary_semaphore mayGoOn{0};
        auto first = runChild(&runner, {u"echo"_s, u"x"_s}, {}, [&](const QString&) {
            isBusy.release();
            mayGoOn.acquire();
        });
        isBusy.acquire();
        const auto handle = std::make_shared<ProcessHandle>();
        auto task = runner.run(u"/does/not/exist"_s, {}, noLimit, handle);
        QVERIFY(!task.isReady());
        handle->cancel();
        mayGoOn.release();
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.status, -1);
        QCOMPARE(result.output, QString());
        QVERIFY(result.cancelled);
        await(std::move(first));
    }

    void terminateBeforeTheStartReachesTheChild() {
        int signalsTold = 0;
        ChildProcess child([&] { signalsTold += 1; });
        child.terminate();
        QCOMPARE(signalsTold, 0);
        QCOMPARE(child.start(QString::fromUtf8(PROCESS_TEST_CHILD), {u"stay"_s}, DockerCLI::environment()), 0);
        QCOMPARE(signalsTold, 1);
        QVERIFY(waitUntil([&] { return child.hasEnded(); }));
        QCOMPARE(child.reap(), terminated);
        child.terminate();
        QCOMPARE(signalsTold, 1);
    }

    void cancelEndsTheChild() {
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const auto handle = std::make_shared<ProcessHandle>();
        auto task = runChild(&runner, {u"stay"_s}, handle, live.callback());
        QVERIFY(live.arrives(u"ready"_s));
        std::thread([handle] { handle->cancel(); }).join();
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.status, terminated);
        QCOMPARE(result.output, u"ready"_s);
        QVERIFY(result.cancelled);
        QVERIFY(!result.timedOut);
        QVERIFY(!result.isSuccess());
    }

    void cancelFromTheOutputCallback() {
        ProcessRunner runner(&m_clock);
        const auto handle = std::make_shared<ProcessHandle>();
        auto task = runChild(&runner, {u"stay"_s}, handle, [handle](const QString&) { handle->cancel(); });
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.status, terminated);
        QVERIFY(result.cancelled);
    }

    void cancelAfterTheEndChangesNothing() {
        ProcessRunner runner(&m_clock);
        const auto handle = std::make_shared<ProcessHandle>();
        const CommandResult result = await(runChild(&runner, {u"exit"_s, u"0"_s}, handle));
        handle->cancel();
        QVERIFY(result.isSuccess());
        QVERIFY(await(runChild(&runner, {u"exit"_s, u"0"_s}, handle)).cancelled);
    }

    void handleCancelsItsLatestChild() {
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const auto handle = std::make_shared<ProcessHandle>();
        QCOMPARE(await(runChild(&runner, {u"exit"_s, u"2"_s}, handle)).status, 2);
        auto task = runChild(&runner, {u"stay"_s}, handle, live.callback());
        QVERIFY(live.arrives(u"ready"_s));
        handle->cancel();
        QCOMPARE(await(std::move(task)).status, terminated);
    }

    void childThatIgnoresTheSignalIsWaitedForAWhile() {
        const TestHome home;
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const auto handle = std::make_shared<ProcessHandle>();
        const QStringList arguments{u"count-terms"_s, home.path(u"go"_s)};
        auto task = runChild(&runner, arguments, handle, live.callback(), 10s);
        QVERIFY(live.arrives(u"ready"_s));
        m_clock.advance(10s);
        QVERIFY(live.arrives(u"term 1"_s));
        QVERIFY(waitUntil([&] { return m_clock.untilNextTimer() == 5s; }));
        m_clock.advance(4s);
        handle->cancel();
        QVERIFY(live.arrives(u"term 2"_s));
        QVERIFY(!task.isReady());
        home.write(u"go"_s, {});
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.status, 3);
        QVERIFY(result.timedOut);
        QVERIFY(result.cancelled);
        QCOMPARE(result.output, u"ready term 1 term 2 done"_s);
    }

    void deafChildIsGivenUpAfterTheTimeLimit() {
        const TestHome home;
        ProcessRunner runner(&m_clock);
        QVERIFY(await(runChild(&runner, {u"exit"_s, u"0"_s})).isSuccess());
        const auto files = openFiles();
        const auto threads = threadCount();
        const LiveOutput live;
        const auto handle = std::make_shared<ProcessHandle>();
        auto task = runChild(&runner, {u"deaf"_s, home.path(u"go"_s)}, handle, live.callback(), 10s);
        QVERIFY(waitUntil([&] { return saidId(live) > 0; }));
        m_clock.advance(10s);
        QVERIFY(waitUntil([&] { return m_clock.untilNextTimer() == 5s; }));
        m_clock.advance(4999ms);
        QCOMPARE(m_clock.pendingTimers(), 1);
        QVERIFY(!task.isReady());
        m_clock.advance(1ms);
        const CommandResult result = await(std::move(task));
        QVERIFY(result.timedOut);
        QVERIFY(!result.cancelled);
        QCOMPARE(result.status, -1);
        QCOMPARE(result.output, live.text());
        QCOMPARE(m_clock.pendingTimers(), 0);

        // The child lives on. A late cancel does not reach it, its pipe is closed, and only its end is watched.
        handle->cancel();
        QCOMPARE(openFiles(), files + 1);
        QCOMPARE(threadCount(), threads);
        QVERIFY(processState(saidId(live)) != ' ' && processState(saidId(live)) != 'Z');
        QVERIFY(await(runChild(&runner, {u"exit"_s, u"0"_s})).isSuccess());
        home.write(u"go"_s, {});
        QVERIFY(waitUntil([&] { return processState(saidId(live)) == ' '; }));
        QVERIFY(waitUntil([&] { return openFiles() == files; }));
    }

    void childThatDecidesItselfIsWaitedFor_data() {
        QTest::addColumn<bool>("byLimit");
        QTest::newRow("cancelled") << false;
        QTest::newRow("timed out") << true;
    }

    void childThatDecidesItselfIsWaitedFor() {
        QFETCH(const bool, byLimit);
        const TestHome home;
        ProcessRunner runner(&m_clock);
        QVERIFY(await(runChild(&runner, {u"exit"_s, u"0"_s})).isSuccess());
        const auto files = openFiles();
        const LiveOutput live;
        const auto handle = std::make_shared<ProcessHandle>();
        const QString child = QString::fromUtf8(PROCESS_TEST_CHILD);
        const QStringList arguments{u"read-input"_s, home.path(u"go"_s)};
        auto task = runner.runToItsEnd(child, arguments, 10s, handle, live.callback());
        QVERIFY(live.arrives(u"ready"_s));
        // Another child does not hold the pipe open.
        const LiveOutput other;
        auto otherTask = runChild(&runner, {u"count-terms"_s, home.path(u"go"_s)}, {}, other.callback());
        QVERIFY(other.arrives(u"ready"_s));
        m_clock.advance(9999ms);
        QCOMPARE(live.text(), u"ready"_s);
        if (byLimit) {
            m_clock.advance(1ms);
        } else {
            handle->cancel();
        }
        QVERIFY(live.arrives(u"end of input"_s));
        // It is given up by nobody.
        m_clock.advance(1h);
        QVERIFY(!task.isReady());
        home.write(u"go"_s, {});
        const CommandResult result = await(std::move(task));
        QCOMPARE(result.status, 3);
        QCOMPARE(result.output, u"ready end of input done"_s);
        QVERIFY(result.timedOut || !byLimit);
        QCOMPARE(result.cancelled, !byLimit);
        await(std::move(otherTask));
        QVERIFY(waitUntil([&] { return openFiles() == files; }));
    }

    void deafChildIsGivenUpAfterACancel() {
        const TestHome home;
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const auto handle = std::make_shared<ProcessHandle>();
        auto task = runChild(&runner, {u"deaf"_s, home.path(u"go"_s)}, handle, live.callback(), 10s);
        QVERIFY(waitUntil([&] { return saidId(live) > 0; }));
        m_clock.advance(7s);
        handle->cancel();
        QVERIFY(waitUntil([&] { return m_clock.pendingTimers() == 2; }));
        // A second SIGTERM does not give the child more time.
        m_clock.advance(3s);
        QVERIFY(waitUntil([&] { return m_clock.pendingTimers() == 1; }));
        QCOMPARE(m_clock.untilNextTimer(), 2s);
        m_clock.advance(1999ms);
        QVERIFY(!task.isReady());
        m_clock.advance(1ms);
        const CommandResult result = await(std::move(task));
        QVERIFY(result.cancelled);
        QVERIFY(result.timedOut);
        QCOMPARE(result.status, -1);
        home.write(u"go"_s, {});
        QVERIFY(waitUntil([&] { return processState(saidId(live)) == ' '; }));
    }

    void runnerEndsBeforeAChildThatWasGivenUp() {
        const TestHome home;
        const auto files = openFiles();
        const LiveOutput live;
        {
            ProcessRunner runner(&m_clock);
            auto task = runChild(&runner, {u"deaf"_s, home.path(u"go"_s)}, {}, live.callback(), 10s);
            QVERIFY(waitUntil([&] { return saidId(live) > 0; }));
            m_clock.advance(10s);
            QVERIFY(waitUntil([&] { return m_clock.pendingTimers() == 1; }));
            m_clock.advance(5s);
            QVERIFY(await(std::move(task)).timedOut);
        }
        QCOMPARE(openFiles(), files);
        home.write(u"go"_s, {});
        QVERIFY(endsUnreaped(live));
    }

    void childThatWasStoppedEndsToo() {
        ProcessRunner runner(&m_clock);
        const LiveOutput live;
        const auto handle = std::make_shared<ProcessHandle>();
        auto task = runChild(&runner, {u"stop-itself"_s}, handle, live.callback());
        QVERIFY(waitUntil([&] { return saidId(live) > 0 && processState(saidId(live)) == 'T'; }));
        handle->cancel();
        QCOMPARE(await(std::move(task)).status, terminated);
    }
};

ORVANEL_TEST(TestProcessStop)
#include "TestProcessStop.moc"
