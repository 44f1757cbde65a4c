#include "BackupClicks.h"
#include "support/Await.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

using Request = void (KumaController::*)();

const auto zip = u"/media/stick/kuma.zip"_s;

/// A server that converts its data, 41 % of them, as the poll has found it.
class World : public ControllerFixture {
public:
    World() {
        page.exactAnswer = PageAnswer::converting;
        logSays("[DB] INFO: [DON'T STOP] Migrating monitor 7s' (3 of 12 total) data - 2024-05-01 - total migration "
                "progress 41.67%\n");
        standin::addContainer(docker(), "running", controller().state().port);
        controller().begin();
        settle();
        takeCommands();
    }

    void logSays(const std::string& log) { docker().log = log; }
    const ControllerState& state() { return controller().state(); }
    void conversionEnds() {
        page.exactAnswer.reset();
        logSays("[SERVER] INFO: Listening on:\n");
    }
    /// Answers the question about the interruption; false when there is none.
    bool answerQuestion(bool interrupt) {
        settle();
        if (dialogs.questions.isEmpty() || dialogs.questions.last().alert.confirmButton != u"Interrupt") {
            return false;
        }
        dialogs.questions.takeLast().answer.complete(interrupt);
        settle();
        return true;
    }
    bool isStillRunning() { return docker().container && docker().container->state == "running"; }
};

} // namespace

/// A server that converts its data for a new version: what is shown, and that nothing stops it without a question.
class TestConversions : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isFoundAtThePoll() {
        World world;
        QVERIFY(world.state().kuma == KumaState::starting);
        QCOMPARE(world.state().conversion, Conversion{.percent = 41});
        world.logSays("[DB] INFO: Clearing non-important heartbeats\n");
        world.advance(3s);
        QCOMPARE(world.state().conversion, Conversion{});
        world.conversionEnds();
        world.advance(3s);
        QVERIFY(world.state().kuma == KumaState::running);
        QVERIFY(!world.state().conversion);
    }

    void pageAndLogDecideTogether_data() {
        QTest::addColumn<PageAnswer>("page");
        QTest::addColumn<QString>("log");
        QTest::addColumn<bool>("converts");
        const auto converting = u"[DB] INFO: Clearing non-important heartbeats\n"_s;
        const auto started = u"[SERVER] INFO: Welcome to Uptime Kuma\n"_s;
        const auto listening = u"[SERVER] INFO: Listening on:\n"_s;
        QTest::newRow("page and log") << PageAnswer::converting << converting << true;
        QTest::newRow("before the first line") << PageAnswer::converting << started << true;
        QTest::newRow("without a log") << PageAnswer::converting << QString() << true;
        QTest::newRow("too busy to answer") << PageAnswer::none << converting << true;
        QTest::newRow("strange page") << PageAnswer::strange << converting << true;
        QTest::newRow("strange page, no word of it") << PageAnswer::strange << started << false;
        QTest::newRow("still loading") << PageAnswer::none << started << false;
        QTest::newRow("page of somebody else") << PageAnswer::converting << listening << false;
    }
    void pageAndLogDecideTogether() {
        QFETCH(const PageAnswer, page);
        QFETCH(const QString, log);
        World world;
        world.page.exactAnswer = page;
        world.logSays(log.toStdString());
        world.advance(3s);
        QVERIFY(world.state().kuma == KumaState::starting);
        QTEST(world.state().conversion.has_value(), "converts");
    }

    void logThatCannotBeReadIsNoConversion() {
        World world;
        world.page.exactAnswer = PageAnswer::none;
        world.answer("end of the log", 1, u"Error: configured logging driver does not support reading"_s);
        world.advance(3s);
        QVERIFY(world.state().kuma == KumaState::starting);
        QVERIFY(!world.state().conversion);
        QVERIFY(!world.state().error);
    }

    void steadyServerIsLookedAtAsBefore() {
        World world;
        world.conversionEnds();
        world.advance(3s);
        world.takeCommands();
        world.page.questions.clear();
        world.advance(30s);
        QCOMPARE(world.takeCommands(), QStringList(10, u"inspect"_s));
        QCOMPARE(world.page.questions.size(), 10);
    }

    void isForgottenWithTheServer() {
        World world;
        world.docker().container->state = "exited";
        world.advance(3s);
        QVERIFY(!world.state().conversion);
    }

    void nothingStopsItWithoutAQuestion_data() {
        QTest::addColumn<Request>("request");
        QTest::addColumn<QStringList>("commands");
        QTest::newRow("stop") << Request(&KumaController::stop) << names({"compose stop"});
        QTest::newRow("restart") << Request(&KumaController::restart) << names({"compose stop", "compose up"});
    }
    void nothingStopsItWithoutAQuestion() {
        QFETCH(const Request, request);
        QFETCH(const QStringList, commands);
        for (const bool interrupt : {false, true}) {
            World world;
            QVERIFY(!world.controller().prepareFiles());
            (world.controller().*request)();
            world.settle();
            QCOMPARE(world.dialogs.questions.size(), 1);
            const Alert alert = world.dialogs.questions.first().alert;
            QVERIFY(alert.informativeText.startsWith(conversionSentence({.percent = 41})));
            QVERIFY(!alert.confirmsByReturn);
            QVERIFY(world.answerQuestion(interrupt));
            QVERIFY(world.operationEnds());
            QVERIFY(!world.state().error);
            const QStringList run = world.takeCommands();
            for (const QString& command : commands) {
                QCOMPARE(run.contains(command), interrupt);
            }
            QCOMPARE(run.contains(u"stop"_s), false);
        }
    }

    void isFoundAtTheMomentOfTheStop() {
        World world;
        world.conversionEnds();
        world.advance(3s);
        QVERIFY(world.state().kuma == KumaState::running);
        world.page.exactAnswer = PageAnswer::converting;
        world.logSays("[DB] INFO: Clearing non-important heartbeats\n");
        world.controller().stop();
        QVERIFY(world.answerQuestion(false));
        QVERIFY(world.operationEnds());
        QVERIFY(world.isStillRunning());
    }

    void conversionThatIsOverIsNotAskedAbout() {
        World world;
        world.conversionEnds();
        world.controller().stop();
        QVERIFY(world.operationEnds());
        QVERIFY(world.dialogs.questions.isEmpty());
        QVERIFY(!world.isStillRunning());
    }

    void startLeavesItAlone() {
        World world;
        world.controller().setImageTag(u"2.1.0"_s);
        world.controller().start();
        QVERIFY(world.operationEnds());
        QVERIFY(world.dialogs.questions.isEmpty());
        QVERIFY(!world.takeCommands().contains(u"compose up"_s));
        QVERIFY(!world.state().error);
    }

    void removingEverythingAsksOnceMore() {
        for (const bool interrupt : {false, true}) {
            World world;
            const QString data = world.home.write(u".local/share/Orvanel/data/kuma.db"_s, "precious");
            world.controller().removeEverything();
            world.settle();
            confirm(world);
            QVERIFY(world.answerQuestion(interrupt));
            QVERIFY(world.operationEnds());
            QCOMPARE(!QFile::exists(data), interrupt);
            QCOMPARE(!world.docker().container, interrupt);
        }
    }

    void restoreAsksOnceMore() {
        for (const bool interrupt : {false, true}) {
            World world;
            restoreFrom(world, zip);
            QVERIFY(world.answerQuestion(interrupt));
            QVERIFY(world.operationEnds());
            QCOMPARE(world.backups.jobs.size(), interrupt ? 1 : 0);
            QCOMPARE(world.isStillRunning(), true); // started again after the restore
            QCOMPARE(world.state().error ? world.state().error->message : QString(),
                     interrupt ? QString() : u"Cancelled."_s);
        }
    }

    void updateAsksOnceMore() {
        for (const bool interrupt : {false, true}) {
            World world;
            world.controller().checkForUpdates();
            world.settle();
            world.controller().updateNow();
            world.settle();
            confirm(world);
            QVERIFY(world.answerQuestion(interrupt));
            QVERIFY(world.operationEnds());
            QCOMPARE(world.state().imageTag != u"2", interrupt);
            QCOMPARE(world.backups.jobs.size(), interrupt ? 1 : 0);
            QVERIFY(world.dialogs.questions.isEmpty());
        }
    }

    void conversionThatBeginsDuringAnUpdateIsAskedAbout() {
        World world;
        world.conversionEnds();
        world.advance(3s);
        world.controller().checkForUpdates();
        world.settle();
        world.backups.holds = true;
        world.controller().updateNow();
        world.settle();
        confirm(world);
        world.page.exactAnswer = PageAnswer::converting;
        world.logSays({});
        world.backups.letGo();
        QVERIFY(waitUntil([&] { return world.answerQuestion(false); }));
        QVERIFY(world.operationEnds());
        QCOMPARE(world.state().imageTag, u"2"_s);
        QCOMPARE(world.state().error->message, u"Cancelled."_s);
        QVERIFY(!world.takeCommands().contains(u"compose up"_s));
    }

    void backupWaitsForTheEnd() {
        World world;
        backUpTo(world, zip);
        QVERIFY(world.backups.jobs.isEmpty());
        QVERIFY(world.state().backupWaits);
        QVERIFY(!world.state().busy);
        world.advance(10min);
        QVERIFY(world.backups.jobs.isEmpty());
        world.conversionEnds();
        world.advance(5s);
        QCOMPARE(world.backups.jobs.size(), 1);
        QVERIFY(!world.state().backupWaits);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.desktop.revealed, QStringList(zip));
    }

    void backupThatWaitsEndsWithTheProgram() {
        World world;
        backUpTo(world, zip);
        world.controller().shutdownPolling();
        QVERIFY(world.everythingEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        QVERIFY(!world.state().backupWaits);
        // The program goes on after all; a second beginning changes nothing.
        world.controller().begin();
        world.controller().begin();
        backUpTo(world, zip);
        QVERIFY(world.state().backupWaits);
        world.controller().begin();
        world.controller().shutdownPolling();
        QVERIFY(world.everythingEnds());
        QVERIFY(world.backups.jobs.isEmpty());
        world.controller().begin();
        backUpTo(world, zip);
        world.conversionEnds();
        world.advance(5s);
        QCOMPARE(world.backups.jobs.size(), 1);
    }

    void quittingLeavesItRunning() {
        World world;
        world.controller().setStopOnQuit(true);
        world.controller().shutdownPolling();
        const auto stop = world.controller().runStop();
        QVERIFY(world.everythingEnds());
        QVERIFY(world.isStillRunning());
        QVERIFY(world.dialogs.questions.isEmpty());
    }

    void backupOfAConversionIsRefused() {
        World world;
        world.conversionEnds();
        world.advance(3s);
        world.backups.dataVersion = DataVersion::converting;
        world.controller().restoreBackup();
        choosePath(world, zip);
        QVERIFY(world.dialogs.questions.isEmpty());
        QCOMPARE(world.state().error->message,
                 u"The restore failed. This backup was made while Uptime Kuma converted its data, and no server starts "
                 "on it."_s);
        QVERIFY(!world.state().busy);
        QVERIFY(world.isStillRunning());
    }

    void oldBackupIsSaidToBeConverted_data() {
        QTest::addColumn<DataVersion>("version");
        QTest::addColumn<QString>("tag");
        QTest::addColumn<bool>("isSaid");
        QTest::newRow("1.x under 2") << DataVersion::old << u"2.5.3"_s << true;
        QTest::newRow("1.x under 1.x") << DataVersion::old << u"1.23.16"_s << false;
        QTest::newRow("2.x under 2") << DataVersion::converted << u"2"_s << false;
        QTest::newRow("nobody knows") << DataVersion::unknown << u"2"_s << false;
    }
    void oldBackupIsSaidToBeConverted() {
        QFETCH(const DataVersion, version);
        QFETCH(const QString, tag);
        ControllerFixture world;
        world.backups.dataVersion = version;
        world.controller().setImageTag(tag);
        world.controller().restoreBackup();
        choosePath(world, zip);
        const QString text = world.dialogs.questions.first().alert.informativeText;
        QVERIFY(text.startsWith(u"Uptime Kuma will be stopped and the data in\n"_s));
        QTEST(text.contains(u"Uptime Kuma %1 first converts its data"_s.arg(tag)), "isSaid");
        QTEST(text.contains(u"way back"_s), "isSaid");
    }

    void interruptedConversionIsNamed() {
        World world;
        world.page.exactAnswer = PageAnswer::none;
        world.docker().container->state = "restarting";
        world.logSays("[SERVER] ERROR: Failed to prepare your database: Aggregate table migration is already in "
                      "progress\n[SERVER] INFO: Welcome to Uptime Kuma\n");
        world.advance(3s);
        QVERIFY(world.state().kuma == KumaState::error);
        QVERIFY(world.state().error->kind == ErrorKind::interruptedConversion);
        QVERIFY(world.state().error->message.startsWith(u"Uptime Kuma keeps restarting. Open the logs to see why. "_s));
        QVERIFY(world.state().error->message.contains(u"interrupted"_s));
        world.docker().container->state = "running";
        world.conversionEnds();
        world.advance(3s);
        QVERIFY(!world.state().error);
    }

    void otherRestartLoopsSayNothingOfIt() {
        World world;
        world.docker().container->state = "restarting";
        world.logSays("[SERVER] ERROR: database disk image is malformed\n");
        world.advance(3s);
        QVERIFY(world.state().error->kind == ErrorKind::restartLoop);
        QCOMPARE(world.state().error->message, u"Uptime Kuma keeps restarting. Open the logs to see why."_s);
    }
};

ORVANEL_TEST(TestConversions)
#include "TestConversions.moc"
