#include "support/Await.h"
#include "support/FakeClock.h"
#include "support/TestClass.h"
#include "task/Clock.h"
#include "task/TaskScope.h"
#include "task/Worker.h"

#include <QThread>

#include <array>
#include <fcntl.h>
#include <sched.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#ifndef CLONE_NEWTIME
#define CLONE_NEWTIME 0x00000080
#endif

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

QCoro::Task<void> setAfter(Clock* clock, std::chrono::milliseconds delay, bool* done, std::stop_token stop) {
    co_await sleepFor(clock, delay, stop);
    *done = true;
}

QCoro::Task<void> throwAfter(Event<> event) {
    co_await event;
    throw std::runtime_error("the reason");
}

QCoro::Task<int> valueOf(Event<int> event, QThread** resumedOn) {
    const int value = co_await event;
    *resumedOn = QThread::currentThread();
    co_return value;
}

/// The time that the system's clock shows in a child whose computer has slept that long; none if that cannot be
/// arranged.
std::optional<Clock::TimePoint> nowAfterSleeping(std::chrono::seconds asleep) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return std::nullopt;
    }
    // A child of its own for the namespace, which cannot be left again, and in it another one that lives there.
    const pid_t child = ::fork();
    if (child == 0) {
        if (::unshare(CLONE_NEWTIME) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWTIME) != 0) {
            ::_exit(1);
        }
        const int offsets = ::open("/proc/self/timens_offsets", O_WRONLY | O_CLOEXEC);
        if (::dprintf(offsets, "boottime %lld 0\n", static_cast<long long>(asleep.count())) < 0) {
            ::_exit(1);
        }
        const pid_t sleeper = ::fork();
        if (sleeper == 0) {
            const auto now = SystemClock::instance().now();
            const bool isWritten = ::write(ends[1], &now, sizeof now) == sizeof now;
            ::_exit(isWritten ? 0 : 1);
        }
        int status = 1;
        ::waitpid(sleeper, &status, 0);
        ::_exit(WIFEXITED(status) ? WEXITSTATUS(status) : 1);
    }
    ::close(ends[1]);
    Clock::TimePoint now;
    const bool isRead = ::read(ends[0], &now, sizeof now) == sizeof now;
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
    return isRead ? std::optional(now) : std::nullopt;
}

} // namespace

class TestTask : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eventThatAlreadyHappenedDoesNotSuspend() {
        const Event<int> event;
        event.complete(7);
        QThread* thread = nullptr;
        const auto task = valueOf(event, &thread);
        QVERIFY(task.isReady());
    }

    void eventResumesOnTheAwaitingThread() {
        const Event<int> event;
        QThread* thread = nullptr;
        auto task = valueOf(event, &thread);
        std::thread other([event] { event.complete(42); });
        other.join();
        QVERIFY(!task.isReady());
        QCOMPARE(await(std::move(task)), 42);
        QCOMPARE(thread, QThread::currentThread());
    }

    void eventHappensOnce() {
        const Event<int> event;
        event.complete(1);
        event.complete(2);
        QThread* thread = nullptr;
        QCOMPARE(await(valueOf(event, &thread)), 1);
    }

    void sleepLastsAsLongAsTold() {
        FakeClock clock;
        bool done = false;
        TaskScope scope;
        scope.start(setAfter(&clock, 3s, &done, {}), u"sleeper"_s);
        clock.advance(2999ms);
        QVERIFY(!done);
        clock.advance(1ms);
        QVERIFY(done);
        QCOMPARE(clock.pendingTimers(), 0);
    }

    void sleepEndsEarlyWhenStopped() {
        FakeClock clock;
        bool done = false;
        const std::stop_source stop;
        TaskScope scope;
        scope.start(setAfter(&clock, 1h, &done, stop.get_token()), u"sleeper"_s);
        QCOMPARE(scope.running(), 1);
        stop.request_stop();
        QVERIFY(!done);
        QVERIFY(waitUntil([&] { return done; }));
        QCOMPARE(scope.running(), 0);
        QCOMPARE(clock.pendingTimers(), 0);
    }

    void sleepOnTheSystemClockEnds() {
        bool done = false;
        TaskScope scope;
        scope.start(setAfter(&SystemClock::instance(), 1ms, &done, {}), u"sleeper"_s);
        QVERIFY(waitUntil([&] { return done; }));
    }

    /// A time namespace in which the computer was started earlier plays a computer that has slept.
    void systemClockCountsTheTimeAsleep() {
        constexpr auto asleep = 1000000s;
        const auto before = SystemClock::instance().now();
        const std::optional<Clock::TimePoint> after = nowAfterSleeping(asleep);
        if (!after) {
            QSKIP("this system does not let the test make a time namespace");
        }
        QVERIFY(*after >= before + asleep);
        QVERIFY(*after < before + asleep + 1h);
    }

    void scopeReportsWhatATaskThrows() {
        QStringList reports;
        TaskScope scope([&](const QString& name, const QString& what) { reports << u"%1: %2"_s.arg(name, what); });
        const Event<> event;
        scope.start(throwAfter(event), u"thrower"_s);
        event.complete();
        await(scope.finished());
        QCOMPARE(reports, QStringList{u"thrower: the reason"_s});
        QCOMPARE(scope.running(), 0);
    }

    void tasksOutliveTheirScope() {
        FakeClock clock;
        bool done = false;
        {
            TaskScope scope;
            scope.start(setAfter(&clock, 5s, &done, {}), u"sleeper"_s);
        }
        clock.advance(5s);
        QVERIFY(done);
    }

    void workerRunsElsewhereAndAnswersHere() {
        QThread* ranOn = nullptr;
        const auto job = [&ranOn] {
            ranOn = QThread::currentThread();
            return 5;
        };
        QCOMPARE(await(onWorker(job)), 5);
        QVERIFY(ranOn != nullptr);
        QVERIFY(ranOn != QThread::currentThread());
    }

    void workerTakesAJobThatReturnsNothing() {
        QThread* ranOn = nullptr;
        const auto job = [&ranOn] { ranOn = QThread::currentThread(); };
        static_assert(std::is_same_v<decltype(onWorker(job)), QCoro::Task<void>>);
        await(onWorker(job));
        QVERIFY(ranOn != nullptr);
        QVERIFY(ranOn != QThread::currentThread());
    }

    void workerPassesOnWhatTheJobThrows() {
        const auto number = []() -> int { throw std::runtime_error("bad"); };
        QVERIFY_THROWS_EXCEPTION(std::runtime_error, await(onWorker(number)));
        const auto nothing = [] { throw std::runtime_error("bad"); };
        QVERIFY_THROWS_EXCEPTION(std::runtime_error, await(onWorker(nothing)));
    }

    void aFastClockPassesFaster() {
        FakeClock clock;
        FastClock fast(clock, 300);
        const auto start = fast.now();
        int calls = 0;
        const auto timer = fast.callAfter(3s, [&] { calls += 1; });
        const auto odd = fast.callAfter(301ms, [&] { calls += 1; });
        clock.advance(1ms);
        QCOMPARE(calls, 0);
        clock.advance(1ms);
        QCOMPARE(calls, 1);
        clock.advance(7ms);
        QCOMPARE(calls, 1);
        clock.advance(1ms);
        QCOMPARE(calls, 2);
        QVERIFY(fast.now() - start == 3s);
        QVERIFY(fast.wallTime() == clock.wallTime());
    }
};

ORVANEL_TEST(TestTask)
#include "TestTask.moc"
