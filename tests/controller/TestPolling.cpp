#include "ControllerFixture.h"
#include "support/Await.h"

#include <QFile>

using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto restartLoop = QStringLiteral("Uptime Kuma keeps restarting. Open the logs to see why.");

QStringList names(std::initializer_list<const char*> list) {
    QStringList result;
    for (const char* name : list) {
        result.append(QString::fromLatin1(name));
    }
    return result;
}

/// An error that polling has nothing to do with.
OpError raiseOtherError(ControllerFixture& world) {
    world.loginItem.failure = QStringLiteral("No room.");
    world.controller().setLaunchAtLogin(true);
    return world.controller().error().value();
}

} // namespace

class TestPolling : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutAToolNothingIsRun() {
        ControllerFixture world;
        world.installedDocker = std::nullopt;
        world.controller().begin();
        world.settle();
        QVERIFY(world.controller().dockerState() == DockerState::missing);
        QVERIFY(world.controller().kuma() == KumaState::stopped);
        QVERIFY(world.commands().isEmpty());
        QVERIFY(world.page.questions.isEmpty());
        QCOMPARE(world.toolSearches, names({"brew", "colima"}));
    }

    void toolsAreNoticedWithinOnePeriod() {
        ControllerFixture world;
        world.installedDocker = std::nullopt;
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        QVERIFY(!kuma.brewPath() && !kuma.colimaPath());
        world.installedTools = {{QStringLiteral("brew"), QStringLiteral("/b/brew")},
                                {QStringLiteral("colima"), QStringLiteral("/c/colima")}};
        world.installedDocker = QStringLiteral("/new/docker");
        world.advance(3s);
        QCOMPARE(kuma.brewPath(), std::optional(QStringLiteral("/b/brew")));
        QCOMPARE(kuma.colimaPath(), std::optional(QStringLiteral("/c/colima")));
        QCOMPARE(kuma.dockerPath(), std::optional(QStringLiteral("/new/docker")));
        QVERIFY(kuma.dockerState() == DockerState::ready);
        QCOMPARE(world.commands().first().path, QStringLiteral("/new/docker"));
        world.installedTools.clear();
        world.advance(3s);
        QVERIFY(!kuma.brewPath() && !kuma.colimaPath());
    }

    void dockerIsSearchedForOnlyWhileItIsNotKnown() {
        ControllerFixture world;
        world.installedDocker = std::nullopt;
        world.controller().begin();
        world.advance(6s);
        QCOMPARE(world.dockerSearches, 3);
        world.installedDocker = QStringLiteral("/opt/bin/docker");
        world.advance(9s);
        QCOMPARE(world.dockerSearches, 4);
        QCOMPARE(world.toolSearches.size(), 12);
    }

    void loopAsksAtOnceAndEveryThreeSeconds() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.begin();
        kuma.begin(); // there is only one loop
        world.settle();
        QCOMPARE(world.takeCommands(), names({"inspect", "compose version"}));
        world.advance(2999ms);
        QCOMPARE(world.takeCommands(), QStringList());
        world.advance(1ms);
        QCOMPARE(world.takeCommands(), names({"inspect"}));
        world.advance(30s);
        QCOMPARE(world.takeCommands().size(), 10);
    }

    void pauseBeginsWhenTheWorkIsDone() {
        ControllerFixture world;
        world.latency = [](const QString& command) { return command == u"inspect" ? 2s : 0s; };
        world.controller().begin();
        world.advance(2s); // the first probe has just ended
        world.takeCommands();
        world.advance(2999ms);
        QCOMPARE(world.takeCommands(), QStringList());
        world.advance(1ms);
        QCOMPARE(world.takeCommands(), names({"inspect"}));
    }

    void commandLinesOfAPoll() {
        ControllerFixture world;
        world.controller().begin();
        world.settle();
        QCOMPARE(world.commands().size(), 2);
        const Command& probe = world.commands().first();
        QCOMPARE(probe.path, QStringLiteral("/opt/bin/docker"));
        QCOMPARE(probe.arguments, names({"inspect", "-f", "{{.State.Status}}", "orvanel"}));
        QCOMPARE(probe.limit.count(), 10.0);
        const Command& compose = world.commands().last();
        QCOMPARE(compose.arguments, names({"compose", "version"}));
        QCOMPARE(compose.limit.count(), 10.0);
        for (const Command& command : world.commands()) {
            QVERIFY(!command.handle && !command.isWatched);
        }
    }

    void runtimeCountsAsNotRunningUntilItAnswers() {
        ControllerFixture world;
        world.delay("inspect", 5s);
        KumaController& kuma = world.controller();
        QVERIFY(kuma.dockerState() == DockerState::unknown);
        kuma.begin();
        world.settle();
        QVERIFY(kuma.dockerState() == DockerState::notRunning);
        world.advance(5s);
        QVERIFY(kuma.dockerState() == DockerState::ready);
        // Known once, it is left alone during the next probe.
        world.advance(4s);
        QCOMPARE(world.underWay(), names({"inspect"}));
        QVERIFY(kuma.dockerState() == DockerState::ready);
    }

    void whatAProbeMeans_data() {
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output");
        QTest::addColumn<bool>("pageAnswers");
        QTest::addColumn<int>("dockerState");
        QTest::addColumn<int>("kuma");
        QTest::addColumn<bool>("asksThePage");
        const int ready = int(DockerState::ready);
        const int notRunning = int(DockerState::notRunning);
        const int stopped = int(KumaState::stopped);
        const int running = int(KumaState::running);
        const int starting = int(KumaState::starting);
        const int error = int(KumaState::error);
        QTest::newRow("no such object") << 1 << "\nError: No such object: orvanel\n"
                                        << true << ready << stopped << false;
        QTest::newRow("any case") << 1 << "NO SUCH OBJECT" << true << ready << stopped << false;
        QTest::newRow("no such container") << 1 << "no such container: orvanel" << true << ready << stopped << false;
        QTest::newRow("not found") << 125 << "it was Not Found" << true << ready << stopped << false;
        QTest::newRow("no daemon") << 1 << "Cannot connect to the Docker daemon" << true << notRunning << stopped
                                   << false;
        QTest::newRow("permission denied")
            << 1 << "permission denied while trying" << true << notRunning << stopped << false;
        QTest::newRow("failed silently") << 1 << "" << true << notRunning << stopped << false;
        QTest::newRow("failed, saying running") << 1 << "running" << true << notRunning << stopped << false;
        QTest::newRow("running, page answers") << 0 << "running\n" << true << ready << running << true;
        QTest::newRow("running, page silent") << 0 << "running\n" << false << ready << starting << true;
        QTest::newRow("white space around") << 0 << " \r\n\t running \r\n\r\n" << true << ready << running << true;
        QTest::newRow("a capital letter") << 0 << "Running\n" << true << ready << stopped << false;
        QTest::newRow("more than the word") << 0 << "running now\n" << true << ready << stopped << false;
        QTest::newRow("restarting") << 0 << "restarting\n" << true << ready << error << false;
        QTest::newRow("Restarting") << 0 << "Restarting\n" << true << ready << stopped << false;
        for (const char* word : {"created", "paused", "removing", "exited", "dead", "something new"}) {
            QTest::newRow(word) << 0 << QString::fromLatin1(word) + u'\n' << true << ready << stopped << false;
        }
        QTest::newRow("empty") << 0 << "" << true << ready << stopped << false;
        QTest::newRow("only blanks") << 0 << " \n\n" << true << ready << stopped << false;
        QTest::newRow("a warning before") << 0 << "WARNING: bad config: not found\nrunning\n"
                                          << true << ready << running << true;
        QTest::newRow("warnings with blank lines") << 0 << "WARNING: one\n\nWARNING: two\n\n\nrunning\n\n"
                                                   << true << ready << running << true;
        QTest::newRow("only a warning") << 0 << "WARNING: running\n" << true << ready << stopped << false;
        QTest::newRow("a warning before a loop") << 0 << "WARNING: x\nrestarting\n" << true << ready << error << false;
        QTest::newRow("the word on an earlier line") << 0 << "running\nexited\n" << true << ready << stopped << false;
    }

    void whatAProbeMeans() {
        QFETCH(const int, exitCode);
        QFETCH(const QString, output);
        QFETCH(const bool, pageAnswers);
        QFETCH(const int, kuma);
        QFETCH(const bool, asksThePage);
        // Whatever was known before, and whatever error stands there.
        for (const char* before : {"", "exited", "running"}) {
            ControllerFixture world;
            KumaController& controller = world.controller();
            controller.setPort(4567);
            if (*before != '\0') {
                standin::addContainer(world.docker(), before);
            }
            controller.begin();
            world.settle();
            const OpError other = raiseOtherError(world);
            world.page.questions.clear();
            world.page.answers = pageAnswers;
            world.answer("inspect", exitCode, output);
            world.advance(3s);
            QTEST(int(controller.dockerState()), "dockerState");
            QTEST(int(controller.kuma()), "kuma");
            QCOMPARE(world.page.questions.size(), asksThePage ? 1 : 0);
            QVERIFY(!asksThePage || world.page.questions.first().port == 4567);
            if (kuma == int(KumaState::error)) {
                QCOMPARE(controller.error(), (OpError{restartLoop, QStringLiteral("restarting")}));
            } else {
                QCOMPARE(controller.error(), other);
            }
        }
    }

    void probeThatComesTooLateChangesNothing_data() {
        QTest::addColumn<bool>("runs");
        QTest::newRow("running before") << true;
        QTest::newRow("nothing known before") << false;
    }

    void probeThatComesTooLateChangesNothing() {
        QFETCH(const bool, runs);
        ControllerFixture world;
        KumaController& kuma = world.controller();
        if (runs) {
            QVERIFY(world.isPolledAsRunning());
        }
        world.docker().daemon = standin::Daemon::hangs;
        kuma.begin();
        world.advance(3s);
        QCOMPARE(world.underWay(), names({"inspect"}));
        const auto begun = world.commands().last().started;
        world.advance(std::chrono::duration_cast<std::chrono::milliseconds>(begun + 9999ms - world.clock.now()));
        QCOMPARE(world.underWay(), names({"inspect"}));
        world.advance(1ms);
        QVERIFY(world.commands().last().result && world.commands().last().result->timedOut);
        QVERIFY(kuma.dockerState() == (runs ? DockerState::ready : DockerState::notRunning));
        QVERIFY(kuma.kuma() == (runs ? KumaState::running : KumaState::stopped));
        // It goes on asking, and believes the first answer.
        world.docker().daemon = standin::Daemon::down;
        world.advance(20s);
        QVERIFY(kuma.dockerState() == DockerState::notRunning);
        QVERIFY(kuma.kuma() == KumaState::stopped);
        world.docker().daemon = standin::Daemon::up;
        world.advance(3s);
        QVERIFY(kuma.dockerState() == DockerState::ready);
    }

    void hangingToolLeavesTheInterfaceAlive() {
        ControllerFixture world;
        world.docker().daemon = standin::Daemon::hangs;
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        kuma.setPort(4000);
        kuma.setDockerOverride(QStringLiteral("/mine/docker"));
        QCOMPARE(kuma.port(), 4000);
        kuma.start();
        QVERIFY(kuma.busy().has_value());
        kuma.cancelOperation();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.error());
    }

    void outputEndingInSuccessButTooLateIsDropped() {
        ControllerFixture world;
        // Answers the SIGTERM of the time limit by saying its word and ending well.
        world.docker().overrides.push_back(
            {.command = "inspect", .exitCode = 0, .out = "running", .delay = 11000, .ignoresTerm = true});
        KumaController& kuma = world.controller();
        kuma.begin();
        world.advance(12s);
        QVERIFY(world.commands().first().result->timedOut);
        QCOMPARE(world.commands().first().result->status, 0);
        QVERIFY(kuma.dockerState() == DockerState::notRunning);
        QVERIFY(kuma.kuma() == KumaState::stopped);
    }

    void restartLoopIsToldAndForgottenWhenThePageAnswers() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.docker().container->state = "restarting";
        world.advance(3s);
        QVERIFY(kuma.kuma() == KumaState::error);
        QCOMPARE(kuma.error(), (OpError{restartLoop, QStringLiteral("restarting")}));
        QCOMPARE(kuma.statusLine(), QStringLiteral("Uptime Kuma has a problem"));
        // Running again, but silent: nobody knows yet.
        world.page.answers = false;
        world.docker().container->state = "running";
        world.advance(3s);
        QVERIFY(kuma.kuma() == KumaState::starting);
        QVERIFY(kuma.error().has_value());
        world.docker().container->state = "exited";
        world.advance(3s);
        QVERIFY(kuma.error().has_value());
        world.docker().container->state = "running";
        world.page.answers = true;
        world.advance(3s);
        QVERIFY(kuma.kuma() == KumaState::running);
        QVERIFY(!kuma.error());
    }

    void restartLoopTakesThePlaceOfAnyOtherError() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        raiseOtherError(world);
        world.docker().container->state = "restarting";
        world.advance(3s);
        QCOMPARE(world.controller().error()->message, restartLoop);
    }

    void busyProgramIsLeftAlone() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(QStringLiteral("home"));
        QVERIFY(world.isPolledAsRunning());
        world.takeCommands();
        const int searches = world.dockerSearches;
        world.toolSearches.clear();
        world.installedTools = {{QStringLiteral("brew"), QStringLiteral("/b/brew")}};
        world.delay("inspect", 9s); // of the operation
        kuma.stop();
        world.advance(9s);
        world.delay("compose stop", 50s);
        world.advance(40s);
        QVERIFY(kuma.busy().has_value());
        QVERIFY(!kuma.brewPath());
        QVERIFY(world.toolSearches.isEmpty());
        QCOMPARE(world.dockerSearches, searches);
        QCOMPARE(world.page.reads.size(), 1);
        QVERIFY(kuma.kuma() == KumaState::running);
        for (const QString& command : world.takeCommands()) {
            QVERIFY(command == u"inspect" || command == u"compose stop");
        }
    }

    void operationDropsAProbeUnderWay() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        world.answer("inspect", 1, QStringLiteral("Cannot connect to the Docker daemon"), 1, 5s);
        world.advance(3s);
        QCOMPARE(world.underWay(), names({"inspect"}));
        world.delay("info", 12s);
        kuma.start();
        world.advance(6s);
        QVERIFY(kuma.busy().has_value());
        QVERIFY(kuma.dockerState() == DockerState::ready); // the probe's bad news came too late
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.kuma() == KumaState::running);
    }

    void operationThatBeganAndEndedMeanwhileDropsAProbeToo() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        kuma.begin();
        world.settle();
        QVERIFY(kuma.kuma() == KumaState::running);
        // Asked before the stop, and told long after it.
        world.answer("inspect", 0, QStringLiteral("running"), 1, 8s);
        world.advance(3s);
        kuma.stop();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.kuma() == KumaState::stopped);
        QCOMPARE(world.docker().container->state, std::string("exited"));
    }

    void operationDropsAnAnswerOfThePage() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        standin::addContainer(world.docker(), "running");
        world.page.holdsQuestions = true;
        kuma.begin();
        world.settle();
        QCOMPARE(world.page.questions.size(), 1);
        world.delay("inspect", 5s);
        kuma.stop();
        world.settle();
        world.takeCommands();
        world.page.letGo();
        world.settle();
        QVERIFY(kuma.kuma() == KumaState::stopped);
        QCOMPARE(world.takeCommands(), QStringList()); // and the look ends there
        QVERIFY(!kuma.composeAvailable());
    }

    void operationThatBeganAndEndedMeanwhileDropsAnAnswerOfThePageToo() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.page.holdsQuestions = true;
        kuma.begin();
        world.settle();
        kuma.stop();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.kuma() == KumaState::stopped);
        world.page.letGo();
        world.settle();
        QVERIFY(kuma.kuma() == KumaState::stopped);
    }

    void composeIsProbedOnceAndOnlyWhenARuntimeAnswers() {
        ControllerFixture world;
        world.docker().daemon = standin::Daemon::down;
        KumaController& kuma = world.controller();
        kuma.begin();
        world.advance(9s);
        QVERIFY(!kuma.composeAvailable());
        QVERIFY(!world.takeCommands().contains(QStringLiteral("compose version")));
        world.docker().daemon = standin::Daemon::up;
        world.advance(30s);
        QCOMPARE(kuma.composeAvailable(), std::optional(true));
        QCOMPARE(world.takeCommands().count(QStringLiteral("compose version")), 1);
    }

    void failedProbeOfComposeIsRemembered_data() {
        QTest::addColumn<bool>("hangs");
        QTest::newRow("missing") << false;
        QTest::newRow("hangs") << true;
    }

    void failedProbeOfComposeIsRemembered() {
        QFETCH(const bool, hangs);
        ControllerFixture world;
        if (hangs) {
            world.hang("compose version");
        } else {
            world.docker().compose = false;
        }
        world.controller().begin();
        world.advance(60s);
        QCOMPARE(world.controller().composeAvailable(), std::optional(false));
        QCOMPARE(world.takeCommands().count(QStringLiteral("compose version")), 1);
    }

    void lateProbeOfComposeCountsThoughAnOperationBegan() {
        ControllerFixture world;
        world.delay("compose version", 5s, 1);
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        world.delay("inspect", 9s);
        kuma.removeEverything();
        world.dialogs.answerAll(true);
        world.advance(5s);
        QVERIFY(kuma.busy().has_value());
        QCOMPARE(kuma.composeAvailable(), std::optional(true));
    }

    void answersOfAToolThatWasReplacedAreDropped() {
        ControllerFixture world;
        world.executables = {QStringLiteral("/mine/docker")};
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        world.answer("inspect", 1, QStringLiteral("Cannot connect to the Docker daemon"), 1, 5s);
        world.advance(3s);
        kuma.setDockerOverride(QStringLiteral("/mine/docker"));
        world.advance(5s);
        QVERIFY(kuma.dockerState() == DockerState::ready); // not what the old tool says at last
        QVERIFY(!kuma.composeAvailable());
        world.advance(3s);
        QCOMPARE(kuma.dockerPath(), std::optional(QStringLiteral("/mine/docker")));
        QCOMPARE(kuma.composeAvailable(), std::optional(true));
        QCOMPARE(world.commands().last().path, QStringLiteral("/mine/docker"));
    }

    void probeOfComposeOfAToolThatWasReplacedIsDropped() {
        ControllerFixture world;
        world.executables = {QStringLiteral("/mine/docker")};
        world.answer("compose version", 1, QStringLiteral("unknown command"), 1, 5s);
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        QCOMPARE(world.underWay(), names({"compose version"}));
        kuma.setDockerOverride(QStringLiteral("/mine/docker"));
        kuma.recheck();
        world.settle();
        QCOMPARE(kuma.composeAvailable(), std::optional(true));
        world.advance(5s);
        QCOMPARE(kuma.composeAvailable(), std::optional(true));
    }

    void overrideThatIsNoToolFallsBack() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setDockerOverride(QStringLiteral("/nowhere/docker"));
        kuma.begin();
        world.settle();
        QCOMPARE(kuma.dockerPath(), std::optional(QStringLiteral("/opt/bin/docker")));
        QVERIFY(kuma.dockerState() == DockerState::ready);
    }

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
        QTest::newRow("other letters") << QStringLiteral("ÄÖÜ") << QStringLiteral("äöü");
        QTest::newRow("emoji") << QStringLiteral("😀") << QStringLiteral("😀");
        QTest::newRow("empty") << "" << QString();
        QTest::newRow("only blanks") << " \t\r\n " << QString();
        const QString half(1, QChar(0xD83D));
        QTest::newRow("half a character") << half + QStringLiteral("X") << half + QStringLiteral("x");
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
        QCOMPARE(kuma.monitors().size(), read.isNull() ? 0 : 1);
        if (!read.isNull()) {
            QCOMPARE(world.page.reads.first().slug, read);
            QCOMPARE(world.page.reads.first().port, 4321);
        }
    }

    void emptySlugKeepsWhatIsKnown() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(QStringLiteral("home"));
        world.page.status = statusPage({monitor(1, 1)}, QStringLiteral("My page"));
        QVERIFY(world.isPolledAsRunning());
        kuma.setSlug(QStringLiteral("  "));
        world.advance(60s);
        QCOMPARE(world.page.reads.size(), 1);
        QCOMPARE(kuma.statusTitle(), QStringLiteral("My page"));
        QVERIFY(kuma.lastStatusUpdate().has_value());
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
        world.controller().setSlug(QStringLiteral("home"));
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
        world.controller().setSlug(QStringLiteral("home"));
        if (fails) {
            world.page.status = StatusPageError{QStringLiteral("No.")};
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
        world.controller().setSlug(QStringLiteral("home"));
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
        kuma.setSlug(QStringLiteral("home"));
        const QList<MonitorRow> rows{monitor(3, 1, QStringLiteral("C")), monitor(1, 0, QStringLiteral("A")),
                                     monitor(3, 1, QStringLiteral("C again")), monitor(2, std::nullopt)};
        world.page.status = statusPage(rows, QStringLiteral("My page"));
        QVERIFY(world.isPolledAsRunning());
        QCOMPARE(kuma.monitors(), rows);
        QCOMPARE(kuma.statusTitle(), QStringLiteral("My page"));
        QVERIFY(!kuma.statusError());
        QVERIFY(kuma.lastStatusUpdate() == world.clock.wallTime());
        QVERIFY(kuma.health() == Health::someDown);
        QCOMPARE(kuma.statusLine(), QStringLiteral("1 down, 2 up"));
    }

    void failureIsPublishedAndKeepsTheRest() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(QStringLiteral("home"));
        world.page.status = statusPage({monitor(1, 1)}, QStringLiteral("My page"));
        QVERIFY(world.isPolledAsRunning());
        const auto updated = kuma.lastStatusUpdate();
        world.page.status = StatusPageError{QStringLiteral("Could not read the status page (HTTP 404).")};
        world.advance(30s);
        QCOMPARE(kuma.statusError(), QStringLiteral("Could not read the status page (HTTP 404)."));
        QVERIFY(kuma.monitors().isEmpty());
        QCOMPARE(kuma.statusTitle(), QStringLiteral("My page"));
        QVERIFY(kuma.lastStatusUpdate() == updated);
        QVERIFY(kuma.kuma() == KumaState::running);
        QVERIFY(!kuma.error());
        world.page.status = statusPage({monitor(1, 1)});
        world.advance(30s);
        QVERIFY(!kuma.statusError());
        QCOMPARE(kuma.monitors().size(), 1);
        QVERIFY(kuma.lastStatusUpdate() != updated);
    }

    void slugChangedDuringAReadDropsItsResult() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(QStringLiteral("old"));
        world.page.holdsReads = true;
        QVERIFY(world.isPolledAsRunning());
        QCOMPARE(world.page.reads.size(), 1);
        kuma.setSlug(QStringLiteral("new"));
        world.page.reads.first().answer.complete(statusPage({monitor(1, 0)}, QStringLiteral("Old")));
        world.settle();
        QVERIFY(kuma.monitors().isEmpty());
        QCOMPARE(kuma.statusTitle(), QString());
        QVERIFY(!kuma.lastStatusUpdate());
        QCOMPARE(world.notifier.authorizationRequests, 0);
        world.advance(3s);
        QCOMPARE(world.page.reads.size(), 2);
        QCOMPARE(world.page.reads.last().slug, QStringLiteral("new"));
        world.page.reads.last().answer.complete(statusPage({monitor(2, 1)}, QStringLiteral("New")));
        world.settle();
        QCOMPARE(kuma.statusTitle(), QStringLiteral("New"));
        QCOMPARE(kuma.monitors(), QList<MonitorRow>{monitor(2, 1)});
    }

    void slugChangedDuringAReadDropsItsFailureToo() {
        ControllerFixture world;
        world.controller().setSlug(QStringLiteral("old"));
        world.page.holdsReads = true;
        QVERIFY(world.isPolledAsRunning());
        world.controller().setSlug(QString());
        world.page.reads.first().answer.complete(StatusPageError{QStringLiteral("No.")});
        world.settle();
        QVERIFY(!world.controller().statusError());
    }

    void slugThatIsReadTheSameWayKeepsTheResult() {
        ControllerFixture world;
        world.controller().setSlug(QStringLiteral("home"));
        world.page.holdsReads = true;
        QVERIFY(world.isPolledAsRunning());
        world.controller().setSlug(QStringLiteral(" HOME"));
        world.page.reads.first().answer.complete(statusPage({monitor(1, 1)}));
        world.settle();
        QCOMPARE(world.controller().monitors().size(), 1);
    }

    void readThatEndsDuringAnOperationCounts() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(QStringLiteral("home"));
        world.page.holdsReads = true;
        QVERIFY(world.isPolledAsRunning());
        world.delay("inspect", 5s);
        kuma.stop();
        world.settle();
        world.page.reads.first().answer.complete(statusPage({monitor(1, 1)}));
        world.settle();
        QVERIFY(kuma.busy().has_value());
        QCOMPARE(kuma.monitors().size(), 1);
    }

    void recheckForgetsAndLooksAgain() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.takeCommands();
        world.installedDocker = QStringLiteral("/new/docker");
        world.delay("inspect", 2s);
        kuma.recheck();
        QVERIFY(kuma.dockerState() == DockerState::unknown);
        QVERIFY(!kuma.dockerPath());
        QCOMPARE(kuma.statusLine(), QStringLiteral("Checking Docker…"));
        world.settle();
        QVERIFY(kuma.dockerState() == DockerState::notRunning);
        QCOMPARE(kuma.dockerPath(), std::optional(QStringLiteral("/new/docker")));
        QCOMPARE(world.takeCommands(), names({"inspect"}));
        world.advance(2s);
        QVERIFY(kuma.dockerState() == DockerState::ready);
        QVERIFY(kuma.kuma() == KumaState::running);
    }

    void recheckWorksWithoutTheLoopAndKeepsTheLoop() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.recheck();
        world.settle();
        QVERIFY(kuma.dockerState() == DockerState::ready);
        QVERIFY(kuma.isIdle());
        world.advance(60s);
        QCOMPARE(world.takeCommands(), names({"inspect", "compose version"}));
        kuma.begin();
        kuma.recheck();
        world.advance(3s);
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect", "inspect"}));
    }

    void rechecksMayOverlapAndTheLastAnswerWins() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.answer("inspect", 1, QStringLiteral("Cannot connect to the Docker daemon"), 1, 5s);
        world.answer("inspect", 0, QStringLiteral("exited"), 1, 2s);
        kuma.begin();
        world.settle();
        kuma.recheck();
        world.settle();
        QCOMPARE(world.underWay(), names({"inspect", "inspect"}));
        world.advance(2s);
        QVERIFY(kuma.dockerState() == DockerState::ready);
        world.advance(3s);
        QVERIFY(kuma.dockerState() == DockerState::notRunning);
    }

    void recheckDuringAnOperationWaitsForItsEnd() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.delay("inspect", 2s, 1);
        kuma.stop();
        world.settle();
        kuma.recheck();
        world.settle();
        QVERIFY(kuma.dockerState() == DockerState::unknown);
        QVERIFY(!kuma.dockerPath());
        QCOMPARE(kuma.statusLine(), QStringLiteral("Stopping…"));
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.dockerState() == DockerState::ready);
        QVERIFY(kuma.kuma() == KumaState::stopped);
        QVERIFY(!kuma.error());
    }

    void shutdownEndsTheLoop() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.takeCommands();
        kuma.shutdownPolling();
        kuma.shutdownPolling();
        QVERIFY(world.everythingEnds());
        world.advance(60s);
        QVERIFY(kuma.isIdle());
        QCOMPARE(world.takeCommands(), QStringList());
        QCOMPARE(world.clock.pendingTimers(), 0);
    }

    void shutdownBeforeAnythingBeganIsHarmless() {
        ControllerFixture world;
        world.controller().shutdownPolling();
        world.controller().begin();
        world.settle();
        QVERIFY(world.controller().dockerState() == DockerState::ready);
    }

    void shutdownDuringAProbeDropsItsResult() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        kuma.setSlug(QStringLiteral("home"));
        world.answer("inspect", 1, QStringLiteral("Cannot connect to the Docker daemon"), 1, 5s);
        world.advance(3s);
        kuma.shutdownPolling();
        world.advance(5s);
        QVERIFY(kuma.isIdle());
        QVERIFY(kuma.dockerState() == DockerState::ready);
        QVERIFY(kuma.kuma() == KumaState::running);
        // Nor does it go on to the status page.
        QCOMPARE(world.page.reads.size(), 0);
    }

    void shutdownDuringARead() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.setSlug(QStringLiteral("home"));
        world.page.holdsReads = true;
        QVERIFY(world.isPolledAsRunning());
        world.takeCommands();
        kuma.shutdownPolling();
        world.advance(10s);
        QVERIFY(!kuma.isIdle());
        world.page.letGo();
        world.settle();
        QVERIFY(kuma.isIdle());
        QCOMPARE(world.takeCommands(), QStringList());
    }

    void loopMayBeginAnewBesideTheEndOfTheOldOne() {
        ControllerFixture world;
        world.delay("inspect", 5s, 1);
        KumaController& kuma = world.controller();
        kuma.begin();
        world.settle();
        kuma.shutdownPolling();
        kuma.begin();
        world.advance(5s);
        world.takeCommands();
        world.advance(30s);
        QCOMPARE(world.takeCommands().count(QStringLiteral("inspect")), 10);
    }

    void shutdownLetsAnOperationGoOn() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.delay("inspect", 3s, 1);
        kuma.stop();
        world.settle();
        kuma.shutdownPolling();
        QVERIFY(kuma.busy().has_value());
        QVERIFY(world.operationEnds());
        QCOMPARE(world.docker().container->state, std::string("exited"));
        QVERIFY(kuma.kuma() == KumaState::stopped);
        world.settle();
        QVERIFY(kuma.isIdle());
    }

    void shutdownEndsADownload() {
        ControllerFixture world;
        world.docker().pace = 1;
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(5s);
        QVERIFY(kuma.pulling());
        kuma.shutdownPolling();
        world.settle();
        QVERIFY(!kuma.pulling());
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.error()->message, QStringLiteral("Cancelled."));
        QVERIFY(!world.docker().container);
    }

    void runStop_data() {
        QTest::addColumn<bool>("compose");
        QTest::addColumn<bool>("container");
        QTest::addColumn<bool>("composeStopFails");
        QTest::addColumn<QStringList>("commands");
        QTest::addColumn<bool>("succeeds");
        QTest::newRow("compose") << true << true << false << names({"compose version", "inspect", "compose stop"})
                                 << true;
        QTest::newRow("compose fails") << true << true << true
                                       << names({"compose version", "inspect", "compose stop", "stop"}) << true;
        QTest::newRow("plain") << false << true << false << names({"compose version", "stop"}) << true;
        QTest::newRow("no container") << true << false << false << names({"compose version", "inspect", "stop"})
                                      << false;
        QTest::newRow("no container, plain") << false << false << false << names({"compose version", "stop"}) << false;
    }

    void runStop() {
        QFETCH(const bool, compose);
        QFETCH(const bool, container);
        QFETCH(const bool, composeStopFails);
        QFETCH(const bool, succeeds);
        ControllerFixture world;
        world.docker().compose = compose;
        KumaController& kuma = world.controller();
        QVERIFY(!kuma.prepareFiles());
        if (container) {
            standin::addContainer(world.docker(), "running");
        }
        if (composeStopFails) {
            world.answer("compose stop", 1, QStringLiteral("no"));
        }
        const CommandResult result = await(kuma.runStop(QStringLiteral("/some/docker")));
        QTEST(world.takeCommands(), "commands");
        QCOMPARE(result.isSuccess(), succeeds);
        for (const Command& command : world.commands()) {
            QCOMPARE(command.path, QStringLiteral("/some/docker"));
            const bool isStop = command.name().endsWith(QStringLiteral("stop"));
            QCOMPARE(command.limit.count(), isStop ? 60.0 : 10.0);
        }
        QVERIFY(!container || world.docker().container->state == "exited");
        QVERIFY(!kuma.error() && !kuma.busy());
    }

    void stopOfADockerThatHangsEndsAtItsLimits() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.hang("compose stop");
        world.hang("stop");
        kuma.stop();
        world.advance(119s);
        QVERIFY(kuma.busy().has_value());
        world.advance(1s);
        QVERIFY(!kuma.busy());
        QCOMPARE(kuma.error()->message, QStringLiteral("Docker did not answer in time."));
        QVERIFY(kuma.kuma() == KumaState::running);
    }
};

QTEST_GUILESS_MAIN(TestPolling)
#include "TestPolling.moc"
