#include "OperationsWorld.h"
#include "controller/DailyBackups.h"
#include "support/TestClass.h"

#include <QTest>

#include <ctime>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

struct World : OperationsWorld {
    World() {
        runServer();
        setTime(u"20260505-120000"_s);
    }

    void setTime(const QString& time) {
        const QDateTime moment = QDateTime::fromString(time, u"yyyyMMdd-HHmmss"_s);
        clock.setWallTime(Clock::WallTime(std::chrono::milliseconds(moment.toMSecsSinceEpoch())));
    }
    void switchOn() {
        daily.setEnabled(true);
        settle();
    }
    /// What the poll loop does every three seconds.
    void poll() {
        daily.startWhenDue();
        settle();
    }
    /// Polls every three minutes.
    void pass(std::chrono::hours time) {
        for (auto passed = 0min; passed < time; passed += 3min) {
            clock.advance(3min);
            poll();
        }
    }
    /// The times in the names of the copies made so far.
    QStringList made() const {
        QStringList times;
        for (const ScriptedBackups::Job& job : backups.jobs) {
            if (job.kind == u"daily copy") {
                times << job.arguments.last();
            }
        }
        return times;
    }
    const DailyBackupState& shown() const { return (*state)->dailyBackups; }
    void setKuma(KumaState kuma) { state->set(&ControllerState::kuma, kuma); }

    RecordingNotifier notifier;
    SettingsStore store{home.path(u"Orvanel.conf"_s)};
    UserSettings settings{store, *state};
    DailyBackups daily{context, settings, *operations, dataTurns, clock, notifier, tasks};
};

} // namespace

/// A copy a day, by the wall clock; none beside an operation.
class TestDailyBackups : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void offAtFirst() {
        World world;
        world.daily.begin();
        world.pass(48h);
        QVERIFY(!(*world.state)->dailyBackup);
        QVERIFY(world.backups.jobs.isEmpty());
        QCOMPARE(world.shown(), DailyBackupState());
    }

    void switchingOnMakesTheFirstCopyAtOnce() {
        World world;
        world.takeCommands();
        world.switchOn();
        QCOMPARE(world.made(), QStringList{u"20260505-120000"_s});
        QCOMPARE(world.backups.jobs.first().arguments,
                 (QStringList{world.files.dataDir(), world.files.backupsDir(), u"20260505-120000"_s}));
        QCOMPARE(world.backups.jobs.last().kind, u"prune"_s);
        QVERIFY(!world.dataTurns.isTaken());
        QCOMPARE(world.shown().lastPlace, world.files.backupsDir() + u"/daily-20260505-120000"_s);
        QCOMPARE(world.shown().lastMade, std::optional(world.clock.wallTime()));
        QCOMPARE(world.shown().copies, 1);
        QCOMPARE(world.shown().bytes, 1000);
        QVERIFY(!world.shown().isRunning && !world.shown().failure && !world.shown().waiting);
        QVERIFY(!(*world.state)->busy && !(*world.state)->error);
        QVERIFY2(world.takeCommands().isEmpty(), "Uptime Kuma is left alone");
        QVERIFY(world.notifier.posted.isEmpty());
        QVERIFY(SettingsStore(world.home.path(u"Orvanel.conf"_s)).boolean(u"dailyBackup"_s, false));
        QVERIFY(world.desktop.revealed.isEmpty());
    }

    void oneADay() {
        World world;
        world.switchOn();
        world.pass(24h * 5);
        QCOMPARE(world.made(), (QStringList{u"20260505-120000"_s, u"20260506-000000"_s, u"20260507-000000"_s,
                                            u"20260508-000000"_s, u"20260509-000000"_s, u"20260510-000000"_s}));
    }

    void missedOnesAreMadeUpAfterASleep() {
        World world;
        world.switchOn();
        world.clock.sleep(24h * 9 + 1h);
        QCOMPARE(world.made().size(), 1);
        world.poll();
        QCOMPARE(world.made().mid(1), QStringList{u"20260514-130000"_s});
        world.pass(8h);
        QCOMPARE(world.made().size(), 2);
    }

    void changesOfTheClockMakeNoSecondCopy() {
        World world;
        world.switchOn();
        world.setTime(u"20360101-080000"_s);
        world.pass(3h);
        world.setTime(u"20260505-150000"_s);
        world.pass(1h);
        QCOMPARE(world.made().size(), 1);
        // Nor do they put one off.
        world.setTime(u"20260505-000100"_s);
        world.pass(21h);
        QCOMPARE(world.made().size(), 2);
    }

    void clockThatJumpsToAndFroAllTheTimeMakesAtMostOneInSixHours() {
        World world;
        world.switchOn();
        for (int i = 0; i < 48; ++i) {
            world.setTime(i % 2 == 0 ? u"19700102-080000"_s : u"20360101-080000"_s);
            world.pass(1h);
        }
        QVERIFY2(world.made().size() >= 3 && world.made().size() <= 9, qPrintable(world.made().join(u' ')));
    }

    void aNewRunKnowsTheCopiesOfTheLast() {
        World world;
        world.backups.daily.copies = {{.time = u"20260504-230000"_s, .number = 1},
                                      {.time = u"20260505-080000"_s, .number = 2},
                                      {.time = u"20260505-110000"_s, .number = 3, .check = DailyCopy::Check::failed}};
        world.backups.daily.bytes = 5;
        world.settings.setDailyBackup(true);
        world.daily.begin();
        world.settle();
        world.poll();
        QCOMPARE(world.made(), QStringList());
        QCOMPARE(world.shown().copies, 3);
        QCOMPARE(world.shown().lastPlace, world.files.backupsDir() + u"/daily-20260505-110000 (check failed)"_s);
        world.pass(13h);
        QCOMPARE(world.made(), QStringList{u"20260506-000000"_s});
    }

    void nothingIsMadeBeforeTheCopiesAreKnown() {
        World world;
        world.settings.setDailyBackup(true);
        world.poll();
        QVERIFY(world.made().isEmpty());
        world.daily.begin();
        world.settle();
        QCOMPARE(world.made().size(), 1);
    }

    void itWaitsUntilTheStateIsKnownAndNothingElseRuns_data() {
        QTest::addColumn<QString>("what");
        QTest::addColumn<QString>("sentence");
        const auto idle = u"The next copy is made as soon as nothing else is under way."_s;
        QTest::newRow("docker") << u"docker"_s << u"The next copy is made as soon as Docker answers."_s;
        QTest::newRow("operation") << u"operation"_s << idle;
        QTest::newRow("backup") << u"backup"_s << idle;
        QTest::newRow("turn") << u"turn"_s << idle;
        QTest::newRow("conversion") << u"conversion"_s
                                    << u"The next copy is made as soon as Uptime Kuma has converted its data."_s;
        QTest::newRow("start") << u"start"_s << u"The next copy is made as soon as Uptime Kuma has started."_s;
    }

    void itWaitsUntilTheStateIsKnownAndNothingElseRuns() {
        QFETCH(const QString, what);
        QFETCH(const QString, sentence);
        World world;
        const Event<Outcome> end;
        std::optional<QCoro::Task<DataTurns::Turn>> turn;
        if (what == u"docker") {
            setDockerState(*world.state, DockerState::notRunning);
        } else if (what == u"operation") {
            world.operations->run(u"Stopping…"_s, [end](std::stop_token) { return waitFor(end); });
        } else if (what == u"backup") {
            world.operations->backupBegan();
        } else if (what == u"turn") {
            turn = world.dataTurns.take();
        } else if (what == u"conversion") {
            world.setKuma(KumaState::starting);
            world.state->set(&ControllerState::conversion, Conversion{.percent = 41});
        } else {
            world.setKuma(KumaState::starting);
        }
        world.switchOn();
        world.clock.advance(9min);
        world.poll();
        QVERIFY(world.made().isEmpty());
        QCOMPARE(world.shown().waiting, std::optional(sentence));
        setDockerState(*world.state, DockerState::ready);
        if (what == u"operation") {
            end.complete(std::nullopt);
        } else if (what == u"backup") {
            world.operations->backupEnded(std::nullopt);
        }
        turn.reset();
        world.state->set(&ControllerState::conversion, std::nullopt);
        world.setKuma(KumaState::running);
        world.settle();
        world.poll();
        QCOMPARE(world.made().size(), 1);
        QVERIFY(!world.shown().waiting);
    }

    void pageThatNeverAnswersIsNoReasonForEver() {
        World world;
        world.setKuma(KumaState::starting);
        world.switchOn();
        world.pass(1h);
        QCOMPARE(world.made().size(), 1);
    }

    void stoppedAndFailingServersAreBackedUpToo() {
        for (const KumaState kuma : {KumaState::stopped, KumaState::error}) {
            World world;
            world.setKuma(kuma);
            world.switchOn();
            QCOMPARE(world.made().size(), 1);
        }
    }

    void neverTwoAtOnce() {
        World world;
        world.backups.holds = true;
        world.switchOn();
        QVERIFY(world.shown().isRunning);
        QVERIFY(world.dataTurns.isTaken());
        world.clock.advance(24h * 3);
        world.poll();
        world.daily.setEnabled(false);
        world.switchOn();
        QCOMPARE(world.made().size(), 1);
        QCOMPARE(world.backups.underWay, 1);
        world.backups.letGo();
        world.settle();
        QVERIFY(!world.shown().isRunning);
    }

    void operationsThatWaitFindTheCopiesAsTheyWere() {
        World world;
        world.backups.holds = true;
        world.switchOn();
        const Event<Outcome> end;
        world.operations->run(u"Restoring backup…"_s, [end](std::stop_token) { return waitFor(end); });
        world.backups.letGo();
        world.settle();
        QCOMPARE(world.backups.jobs.last().kind, u"daily copy"_s);
        QVERIFY(!world.dataTurns.isTaken());
        end.complete(std::nullopt);
        world.settle();
    }

    void aFailureIsToldOnceAndTriedAgainInAnHour() {
        World world;
        world.backups.failure = u"Backups: Read-only file system"_s;
        world.switchOn();
        const OpError error{u"The daily backup failed."_s, u"Backups: Read-only file system"_s, ErrorKind::dailyBackup};
        QCOMPARE((*world.state)->error, std::optional(error));
        QCOMPARE(
            world.notifier.posted,
            (QList<MonitorNews>{{u"Daily backup"_s, u"The daily backup failed. Orvanel tries again in an hour."_s}}));
        QCOMPARE(world.shown().failure, std::optional(u"The daily backup failed. Backups: Read-only file system"_s));
        QCOMPARE(world.shown().nextAttempt, std::optional(world.clock.wallTime() + 1h));
        QCOMPARE(world.backups.jobs.size(), 1);
        world.state->set(&ControllerState::error, std::nullopt);
        world.clock.advance(59min);
        world.poll();
        QCOMPARE(world.made().size(), 1);
        world.pass(10h);
        QVERIFY(world.made().size() >= 9 && world.made().size() <= 11);
        QVERIFY(!(*world.state)->error);
        QCOMPARE(world.notifier.posted.size(), 1);
        world.backups.failure = std::nullopt;
        world.pass(1h);
        const qsizetype attempts = world.made().size();
        QVERIFY(!world.shown().failure && !world.shown().nextAttempt);
        world.pass(1h);
        QCOMPARE(world.made().size(), attempts);
        // The next one is told again.
        world.backups.failure = u"The disk is full."_s;
        world.pass(24h);
        QCOMPARE(world.notifier.posted.size(), 2);
    }

    void theErrorGoesWithTheNextGoodCopy() {
        World world;
        world.backups.databaseProblem = u"row 7"_s;
        world.switchOn();
        QCOMPARE(world.message(), u"The backup was made, but its database did not pass a check."_s);
        QVERIFY((*world.state)->error->details.startsWith(u"row 7"_s));
        QCOMPARE(world.shown().lastPlace, world.files.backupsDir() + u"/daily-20260505-120000 (check failed)"_s);
        world.backups.databaseProblem = std::nullopt;
        world.pass(2h);
        QCOMPARE(world.made().size(), 2);
        QVERIFY(!(*world.state)->error);
        QVERIFY(!world.shown().failure);
    }

    void withoutPermissionNothingIsPosted() {
        World world;
        world.notifier.may = false;
        world.backups.failure = u"The disk is full."_s;
        world.switchOn();
        QVERIFY((*world.state)->error);
        QVERIFY(world.notifier.posted.isEmpty());
    }

    void withoutDataItWaitsForSome() {
        World world;
        world.backups.hasData = false;
        world.switchOn();
        QVERIFY(!(*world.state)->error && world.notifier.posted.isEmpty());
        QCOMPARE(world.shown().waiting, std::optional(u"The first copy is made as soon as Uptime Kuma has data."_s));
        world.poll();
        QCOMPARE(world.made().size(), 1);
        world.backups.hasData = true;
        world.clock.advance(1min);
        world.poll();
        QCOMPARE(world.made().size(), 2);
        QCOMPARE(world.shown().copies, 1);
        QVERIFY(!world.shown().waiting);
    }

    void switchingOffEndsIt() {
        World world;
        world.switchOn();
        world.daily.setEnabled(false);
        world.pass(72h);
        QCOMPARE(world.made().size(), 1);
        QCOMPARE(world.shown().copies, 1);
        world.switchOn();
        QCOMPARE(world.made().size(), 2);
    }

    void nothingBeginsWhenTheProgramEnds() {
        World world;
        world.switchOn();
        world.bringUp.forbid();
        world.pass(48h);
        QCOMPARE(world.made().size(), 1);
    }

    void theUserIsToldOfDeletedAndChangedCopies() {
        World world;
        world.backups.deletedForRoom = {u"daily-20260301-000000"_s};
        world.backups.daily.copies.append({.time = u"20260401-000000"_s, .number = 1, .isChanged = true});
        world.switchOn();
        QCOMPARE(world.shown().notes,
                 (QStringList{u"Less than a tenth of the disk was free, so the oldest weekly copies were deleted: "
                              "daily-20260301-000000."_s,
                              u"Changed since it was made, and therefore kept but not counted: "
                              "daily-20260401-000000."_s}));
    }
};

ORVANEL_TEST(TestDailyBackups)
#include "TestDailyBackups.moc"
