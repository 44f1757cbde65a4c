#include "standin/tools/InProcessDocker.h"
#include "support/Await.h"
#include "support/FakeClock.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::standin;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const QStringList inspect{u"inspect"_s, u"-f"_s, u"{{.State.Status}}"_s, u"orvanel"_s};
const QStringList pull{u"pull"_s, u"louislam/uptime-kuma:2"_s};

} // namespace

class TestInProcessDocker : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void callsTakeTheTimeTheyAreGiven();
    void timeLimitEndsACallThatHangs();
    void pullCanBeCancelledHalfWay();
    void termIsIgnoredWhenTold();
    void deafCallIsGivenUp();
    void stopGoesOnWithoutItsCaller();
    void otherProgramsCannotBeStarted();
    void endReleasesWhatHangs();
};

void TestInProcessDocker::callsTakeTheTimeTheyAreGiven() {
    FakeClock clock;
    InProcessDocker docker(&clock, [](const QString&) { return 80ms; });
    addContainer(docker.state(), "running");
    const RunCommand run = docker.runner();
    auto task = run(u"docker"_s, inspect, 10s, {}, {});
    clock.advance(40ms);
    // The answer tells what the tool found, not what has happened since.
    docker.state().container->state = "exited";
    clock.advance(39ms);
    QVERIFY(!task.isReady());
    clock.advance(1ms);
    QCOMPARE(await(std::move(task)).output, u"running\n"_s);
    QCOMPARE(clock.pendingTimers(), 0);
}

void TestInProcessDocker::timeLimitEndsACallThatHangs() {
    FakeClock clock;
    InProcessDocker docker(&clock);
    docker.state().daemon = Daemon::hangs;
    const RunCommand run = docker.runner();
    auto task = run(u"docker"_s, inspect, 10s, {}, {});
    clock.advance(9999ms);
    QVERIFY(!task.isReady());
    QCOMPARE(docker.running(), 1);
    clock.advance(1ms);
    const CommandResult result = await(std::move(task));
    QVERIFY(result.timedOut);
    QCOMPARE(result.status, 143);
    QCOMPARE(docker.running(), 0);
    QCOMPARE(*docker.calls().front().end - docker.calls().front().start, Clock::TimePoint::duration(10s));
    QCOMPARE(clock.pendingTimers(), 0);
}

void TestInProcessDocker::pullCanBeCancelledHalfWay() {
    FakeClock clock;
    InProcessDocker docker(&clock, [](const QString& command) {
        return command == u"pull" ? std::chrono::milliseconds(60s) : std::chrono::milliseconds(100ms);
    });
    const RunCommand run = docker.runner();
    const auto handle = std::make_shared<ProcessHandle>();
    QString streamed;
    auto task = run(u"docker"_s, pull, 1h, handle, [&](QString chunk) { streamed += chunk; });
    clock.advance(31s);
    QVERIFY2(streamed.endsWith(u"Pull complete\n"), qPrintable(streamed.right(300)));
    auto look = run(u"docker"_s, inspect, 10s, {}, {});
    clock.advance(100ms);
    QCOMPARE(await(std::move(look)).status, 1);
    handle->cancel();
    const CommandResult result = await(std::move(task));
    QVERIFY(result.cancelled);
    QCOMPARE(result.status, 143);
    QCOMPARE(result.output, streamed);
    QVERIFY(docker.state().images.empty());

    const CommandResult later = await(run(u"docker"_s, inspect, 10s, handle, {}));
    QVERIFY(later.cancelled);
    QCOMPARE(later.status, -1);
    QCOMPARE(docker.calls().size(), std::size_t{2});
}

void TestInProcessDocker::termIsIgnoredWhenTold() {
    FakeClock clock;
    InProcessDocker docker(&clock);
    docker.state().overrides = {{.command = "info", .delay = 19'000, .ignoresTerm = true}};
    const RunCommand run = docker.runner();
    auto task = run(u"docker"_s, {u"info"_s}, 15s, {}, {});
    clock.advance(18s);
    QVERIFY(!task.isReady());
    clock.advance(1s);
    const CommandResult result = await(std::move(task));
    QVERIFY(result.timedOut);
    QCOMPARE(result.status, 0);
    QCOMPARE(clock.pendingTimers(), 0);
}

void TestInProcessDocker::deafCallIsGivenUp() {
    FakeClock clock;
    InProcessDocker docker(&clock);
    docker.state().overrides = {{.command = "info", .hangs = true, .ignoresTerm = true}};
    const RunCommand run = docker.runner();
    auto task = run(u"docker"_s, {u"info"_s}, 15s, {}, {});
    clock.advance(19999ms);
    QVERIFY(!task.isReady());
    clock.advance(1ms);
    const CommandResult result = await(std::move(task));
    QVERIFY(result.timedOut);
    QCOMPARE(result.status, -1);
}

void TestInProcessDocker::stopGoesOnWithoutItsCaller() {
    FakeClock clock;
    InProcessDocker docker(&clock);
    addContainer(docker.state(), "running");
    docker.state().pace = 1;
    const RunCommand run = docker.runner();
    auto task = run(u"docker"_s, {u"stop"_s, u"orvanel"_s}, 1s, {}, {});
    clock.advance(999ms);
    QCOMPARE(docker.state().container->state, std::string("running"));
    clock.advance(1ms);
    const CommandResult result = await(std::move(task));
    QVERIFY(result.timedOut);
    QCOMPARE(result.output, QString());
    QCOMPARE(docker.state().container->state, std::string("exited"));
}

void TestInProcessDocker::otherProgramsCannotBeStarted() {
    FakeClock clock;
    const InProcessDocker docker(&clock);
    const RunCommand run = docker.runner();
    const CommandResult result = await(run(u"/usr/bin/ditto"_s, {}, 10s, {}, {}));
    QCOMPARE(result.status, -1);
    QVERIFY(result.output.startsWith(u"Could not run /usr/bin/ditto: "));
    QVERIFY(docker.calls().empty());
}

void TestInProcessDocker::endReleasesWhatHangs() {
    FakeClock clock;
    auto docker = std::make_unique<InProcessDocker>(&clock);
    docker->state().overrides = {{.command = "info", .hangs = true, .ignoresTerm = true}};
    const RunCommand run = docker->runner();
    auto task = run(u"docker"_s, {u"info"_s}, 15s, {}, {});
    clock.advance(19s);
    QVERIFY(!task.isReady());
    docker.reset();
    QVERIFY(await(std::move(task)).timedOut);
}

ORVANEL_TEST(TestInProcessDocker)
#include "TestInProcessDocker.moc"
