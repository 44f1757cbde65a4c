#include "ControllerFixture.h"
#include "controller/ComposeFile.h"
#include "support/Await.h"

#include <QDir>
#include <QFile>

using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto starting = QStringLiteral("Starting Uptime Kuma…");
const auto downloading = QStringLiteral("Downloading the Uptime Kuma image");

QStringList names(std::initializer_list<const char*> list) {
    QStringList result;
    for (const char* name : list) {
        result.append(QString::fromLatin1(name));
    }
    return result;
}

/// Every text that `busy` takes from now on, each with whether the image is being downloaded.
QStringList& recordBusy(KumaController& kuma, QStringList& texts) {
    QObject::connect(&kuma, &KumaController::changed, &kuma, [&kuma, &texts] {
        const QString text = kuma.busy().value_or(QStringLiteral("-"));
        if (texts.isEmpty() || texts.last() != text) {
            texts.append(text);
        }
    });
    return texts;
}

struct ExpectedCommand {
    QStringList arguments;
    int seconds = 0;
};

} // namespace

class TestContainerOperations : public QObject {
    Q_OBJECT

    /// Compares command lines, time limits and order of everything run so far, all with the docker found.
    static void compareCommands(const ControllerFixture& world, const QList<ExpectedCommand>& expected) {
        QStringList lines;
        for (const Command& command : world.commands()) {
            lines.append(QStringLiteral("%1 s: %2 %3")
                             .arg(command.limit.count())
                             .arg(command.path, command.arguments.join(QStringLiteral("|"))));
        }
        QStringList expectedLines;
        for (const ExpectedCommand& command : expected) {
            expectedLines.append(QStringLiteral("%1 s: /opt/bin/docker %2")
                                     .arg(command.seconds)
                                     .arg(command.arguments.join(QStringLiteral("|"))));
        }
        QCOMPARE(lines.join(u'\n'), expectedLines.join(u'\n'));
        for (const Command& command : world.commands()) {
            const bool isPull = command.name().endsWith(QStringLiteral("pull"));
            QCOMPARE(bool(command.handle), isPull);
            QCOMPARE(command.isWatched, isPull);
        }
    }

    static const ExpectedCommand& info() {
        static const ExpectedCommand command{names({"info"}), 15};
        return command;
    }
    static const ExpectedCommand& inspect() {
        static const ExpectedCommand command{names({"inspect", "-f", "{{.State.Status}}", "orvanel"}), 10};
        return command;
    }
    static const ExpectedCommand& imageInspect() {
        static const ExpectedCommand command{names({"image", "inspect", "louislam/uptime-kuma:2"}), 15};
        return command;
    }
    static const ExpectedCommand& composeVersion() {
        static const ExpectedCommand command{names({"compose", "version"}), 10};
        return command;
    }
    static ExpectedCommand compose(const KumaController& kuma, const QStringList& rest, int seconds) {
        return {names({"compose", "-p", "orvanel", "-f"}) + QStringList(kuma.composeURL()) + rest, seconds};
    }

private Q_SLOTS:
    void startWithCompose() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        compareCommands(world,
                        {info(), inspect(), imageInspect(), composeVersion(), compose(kuma, names({"pull"}), 3600),
                         compose(kuma, names({"up", "-d"}), 180), inspect()});
        QVERIFY(!kuma.error());
        QVERIFY(kuma.kuma() == KumaState::running);
        QVERIFY(kuma.dockerState() == DockerState::ready);
        QCOMPARE(world.docker().container->data, kuma.dataDir().toStdString());
        QCOMPARE(world.docker().container->restartPolicy, std::string("unless-stopped"));
    }

    void startWithoutCompose() {
        ControllerFixture world;
        world.docker().compose = false;
        KumaController& kuma = world.controller();
        kuma.setPort(4001);
        kuma.start();
        QVERIFY(world.operationEnds());
        const QStringList run = names({"run", "-d", "--name", "orvanel", "--restart", "unless-stopped", "-p",
                                       "127.0.0.1:4001:3001", "-v"}) +
                                QStringList{kuma.dataDir() + QStringLiteral(":/app/data"), kuma.imageReference()};
        QCOMPARE(run.size(), 11);
        compareCommands(world, {info(),
                                inspect(),
                                imageInspect(),
                                composeVersion(),
                                {names({"pull", "louislam/uptime-kuma:2"}), 3600},
                                {run, 180},
                                inspect()});
        QVERIFY(!kuma.error());
        QCOMPARE(world.docker().container->port, 4001);
        QCOMPARE(world.docker().container->data, kuma.dataDir().toStdString());
    }

    void startWithTheImagePresentDownloadsNothing() {
        ControllerFixture world;
        standin::addImage(world.docker());
        KumaController& kuma = world.controller();
        QStringList texts;
        recordBusy(kuma, texts);
        kuma.start();
        QCOMPARE(kuma.busy(), starting);
        QVERIFY(world.operationEnds());
        compareCommands(world, {info(), inspect(), imageInspect(), composeVersion(),
                                compose(kuma, names({"up", "-d"}), 180), inspect()});
        QCOMPARE(texts, (QStringList{starting, QStringLiteral("-")}));
    }

    void startWhileRunningChecksNoPortAndIsHarmless() {
        ControllerFixture world;
        standin::addContainer(world.docker(), "running");
        world.listeningPorts = {3001}; // by our own container
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(),
                 names({"info", "inspect", "image inspect", "compose version", "compose up", "inspect"}));
        QVERIFY(!kuma.error() && !kuma.suggestedPort());
    }

    void startWhileRunningWithoutComposeRunsNothing() {
        ControllerFixture world;
        standin::addContainer(world.docker(), "running");
        world.docker().compose = false;
        const standin::Container before = *world.docker().container;
        world.listeningPorts = {3001};
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"info", "inspect", "image inspect", "compose version", "inspect"}));
        QVERIFY(!kuma.error());
        QVERIFY(*world.docker().container == before);
    }

    void startWithoutComposeReplacesAContainerThatDoesNotRun_data() {
        QTest::addColumn<QByteArray>("word");
        QTest::addColumn<bool>("removalFails");
        QTest::newRow("exited") << QByteArray("exited") << false;
        QTest::newRow("created") << QByteArray("created") << false;
        QTest::newRow("paused") << QByteArray("paused") << false;
        QTest::newRow("restarting") << QByteArray("restarting") << false;
        QTest::newRow("a removal that fails is not looked at") << QByteArray("exited") << true;
    }

    void startWithoutComposeReplacesAContainerThatDoesNotRun() {
        QFETCH(const QByteArray, word);
        QFETCH(const bool, removalFails);
        ControllerFixture world;
        standin::addContainer(world.docker(), word.toStdString());
        world.docker().compose = false;
        if (removalFails) {
            world.answer("rm", 1, QStringLiteral("no"));
        }
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(),
                 names({"info", "inspect", "image inspect", "compose version", "rm", "run", "inspect"}));
        QCOMPARE(world.commands().at(4).arguments, names({"rm", "-f", "orvanel"}));
        QCOMPARE(world.commands().at(4).limit.count(), 60.0);
        // With the old one still there the name is taken, and the failure of "run" is the one that is told.
        QCOMPARE(kuma.error().has_value(), removalFails);
        if (removalFails) {
            QCOMPARE(kuma.error()->message, QStringLiteral("Docker reported an error."));
            QVERIFY(kuma.error()->details.contains(QStringLiteral("is already in use by container")));
        }
    }

    void busySaysWhatIsUnderWay() {
        ControllerFixture world;
        world.latency = [](const QString&) { return 1s; };
        KumaController& kuma = world.controller();
        QStringList texts;
        recordBusy(kuma, texts);
        kuma.start();
        QVERIFY(!kuma.pulling());
        QVERIFY(world.operationEnds());
        kuma.restart();
        QVERIFY(world.operationEnds());
        kuma.stop();
        QVERIFY(world.operationEnds());
        const auto idle = QStringLiteral("-");
        QCOMPARE(texts, (QStringList{starting, downloading, starting, idle, QStringLiteral("Restarting…"), starting,
                                     idle, QStringLiteral("Stopping…"), idle}));
    }

    void pullingIsTrueOnlyDuringTheDownload() {
        ControllerFixture world;
        world.latency = [](const QString&) { return 2s; };
        KumaController& kuma = world.controller();
        bool isRight = true;
        int downloads = 0;
        QObject::connect(&kuma, &KumaController::changed, &kuma, [&] {
            isRight = isRight && (!kuma.pulling() || kuma.busy() == downloading);
            downloads += kuma.pulling() ? 1 : 0;
        });
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(isRight);
        QVERIFY(downloads > 0);
        QVERIFY(!kuma.pulling());
    }

    void startWithoutDockerOnlySaysSo() {
        ControllerFixture world;
        world.installedDocker = std::nullopt;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.dockerState() == DockerState::missing);
        QVERIFY(!kuma.error() && !kuma.dockerPath());
        QVERIFY(world.commands().isEmpty());
        QVERIFY(!QFile::exists(kuma.composeURL()));
    }

    void startWithoutARuntimeOnlySaysSo_data() {
        QTest::addColumn<int>("daemon");
        QTest::newRow("down") << int(standin::Daemon::down);
        QTest::newRow("denied") << int(standin::Daemon::denied);
        QTest::newRow("hangs") << int(standin::Daemon::hangs);
    }

    void startWithoutARuntimeOnlySaysSo() {
        QFETCH(const int, daemon);
        ControllerFixture world;
        world.docker().daemon = static_cast<standin::Daemon>(daemon);
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.dockerState() == DockerState::notRunning);
        QVERIFY(!kuma.error());
        QVERIFY(!QFile::exists(kuma.composeURL()));
        QCOMPARE(world.takeCommands(), names({"info", "inspect"})); // and the look afterwards
    }

    void hangingRuntimeCostsTheTimeLimitAndNothingElse() {
        ControllerFixture world;
        world.hang("info", 1);
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(14999ms);
        QCOMPARE(kuma.busy(), starting);
        QCOMPARE(world.underWay(), names({"info"}));
        world.advance(1ms);
        QVERIFY(!kuma.busy());
        QVERIFY(world.commands().first().result->timedOut);
    }

    void takenPortIsToldBeforeAnythingIsDownloaded() {
        ControllerFixture world;
        world.listeningPorts = {3001};
        KumaController& kuma = world.controller();
        kuma.start();
        world.settle();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"info", "inspect", "inspect", "compose version"}));
        QVERIFY(!world.docker().container);
        QCOMPARE(kuma.error(), (OpError{QStringLiteral("Port 3001 is already in use by another program."),
                                        QStringLiteral("Port 3001 on 127.0.0.1 could not be bound.")}));
        QCOMPARE(kuma.suggestedPort(), std::optional(3002));
    }

    void takenPortIsLookedAtWhateverElseTheContainerDoes_data() {
        QTest::addColumn<QByteArray>("word");
        for (const char* word : {"exited", "created", "paused", "restarting", "removing", "dead"}) {
            QTest::newRow(word) << QByteArray(word);
        }
    }

    void takenPortIsLookedAtWhateverElseTheContainerDoes() {
        QFETCH(const QByteArray, word);
        ControllerFixture world;
        standin::addContainer(world.docker(), word.toStdString());
        world.listeningPorts = {3001};
        world.controller().start();
        QVERIFY(world.operationEnds());
        QVERIFY(world.controller().suggestedPort().has_value());
    }

    void portThatIsOnlyClosingIsNotTaken() {
        ControllerFixture world;
        world.closingPorts = {3001};
        world.controller().start();
        QVERIFY(world.operationEnds());
        QVERIFY(!world.controller().error());
        QVERIFY(world.controller().kuma() == KumaState::running);
    }

    void nextOperationForgetsErrorAndSuggestion() {
        ControllerFixture world;
        world.listeningPorts = {3001};
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.error() && kuma.suggestedPort());
        kuma.stop();
        QVERIFY(!kuma.error() && !kuma.suggestedPort());
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.error() && !kuma.suggestedPort());
    }

    void failuresOfTheDownload_data() {
        QTest::addColumn<bool>("compose");
        QTest::addColumn<QByteArray>("trouble");
        QTest::addColumn<QString>("message");
        const auto noInternet =
            QStringLiteral("Docker could not reach the internet to download the image. Check your connection.");
        const auto full = QStringLiteral("Your disk is full. Free some space and try again.");
        const auto late = QStringLiteral("Docker did not answer in time.");
        const auto other = QStringLiteral("Docker reported an error.");
        for (const bool compose : {true, false}) {
            const char* how = compose ? "compose" : "plain";
            QTest::addRow("no internet, %s", how) << compose << QByteArray("unreachable") << noInternet;
            QTest::addRow("disk full, %s", how) << compose << QByteArray("disk full") << full;
            QTest::addRow("never ends, %s", how) << compose << QByteArray("hangs") << late;
            QTest::addRow("silent, %s", how) << compose << QByteArray("silent") << other;
        }
    }

    void failuresOfTheDownload() {
        QFETCH(const bool, compose);
        QFETCH(const QByteArray, trouble);
        ControllerFixture world;
        world.docker().compose = compose;
        const char* pull = compose ? "compose pull" : "pull";
        if (trouble == "unreachable") {
            world.docker().registry = standin::Registry::unreachable;
        } else if (trouble == "disk full") {
            world.docker().diskFull = true;
        } else if (trouble == "hangs") {
            world.hang(pull);
        } else {
            world.answer(pull, 1, QString());
        }
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.error().has_value());
        QTEST(kuma.error()->message, "message");
        QCOMPARE(kuma.error()->details.isEmpty(), false);
        if (trouble == "silent") {
            QCOMPARE(kuma.error()->details, QStringLiteral("(no output)"));
        }
        QVERIFY(!kuma.pulling() && !kuma.suggestedPort());
        QVERIFY(!world.docker().container);
        QVERIFY(!world.takeCommands().contains(QStringLiteral("compose up")));
    }

    void portLostOnTheWayIsToldWithASuggestion_data() {
        QTest::addColumn<bool>("compose");
        QTest::addColumn<int>("holder");
        QTest::newRow("process, compose") << true << int(standin::PortHolder::process);
        QTest::newRow("container, compose") << true << int(standin::PortHolder::container);
        QTest::newRow("process, plain") << false << int(standin::PortHolder::process);
        QTest::newRow("container, plain") << false << int(standin::PortHolder::container);
    }

    void portLostOnTheWayIsToldWithASuggestion() {
        QFETCH(const bool, compose);
        QFETCH(const int, holder);
        ControllerFixture world;
        world.docker().compose = compose;
        world.docker().portHolder = static_cast<standin::PortHolder>(holder);
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.error().has_value());
        QCOMPARE(kuma.error()->message, QStringLiteral("The port is already in use by another program."));
        QVERIFY(kuma.error()->details.contains(QStringLiteral("127.0.0.1:3001")));
        QCOMPARE(kuma.suggestedPort(), std::optional(3002));
    }

    void bringingUpThatHangsIsToldAfterItsLimit() {
        ControllerFixture world;
        standin::addImage(world.docker());
        world.hang("compose up");
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(179999ms);
        QCOMPARE(kuma.busy(), starting);
        world.advance(1ms);
        QCOMPARE(kuma.error()->message, QStringLiteral("Docker did not answer in time."));
    }

    void cancelWhileIdleIsHarmless() {
        ControllerFixture world;
        world.controller().cancelOperation();
        world.controller().start();
        QVERIFY(world.operationEnds());
        QVERIFY(world.controller().kuma() == KumaState::running);
    }

    /// A cancel lets the command of the moment run to its end; what would come after it does not happen.
    void cancelDuringACommandThatCannotBeCancelled_data() {
        QTest::addColumn<QByteArray>("during");
        QTest::addColumn<QStringList>("commands");
        QTest::addColumn<bool>("saysCancelled");
        QTest::newRow("info") << QByteArray("info") << names({"info", "inspect"}) << false;
        QTest::newRow("container probe") << QByteArray("inspect")
                                         << names({"info", "inspect", "image inspect", "compose version",
                                                   "compose pull", "inspect"})
                                         << true;
        QTest::newRow("image probe") << QByteArray("image inspect")
                                     << names({"info", "inspect", "image inspect", "compose version", "compose pull",
                                               "inspect"})
                                     << true;
        QTest::newRow("compose probe") << QByteArray("compose version")
                                       << names({"info", "inspect", "image inspect", "compose version", "compose pull",
                                                 "inspect"})
                                       << true;
    }

    void cancelDuringACommandThatCannotBeCancelled() {
        QFETCH(const QByteArray, during);
        ControllerFixture world;
        world.delay(during.constData(), 5s, 1);
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(1s);
        QCOMPARE(world.underWay(), QStringList(QString::fromLatin1(during)));
        kuma.cancelOperation();
        world.settle();
        QCOMPARE(world.underWay(), QStringList(QString::fromLatin1(during)));
        QVERIFY(kuma.busy().has_value());
        QVERIFY(world.operationEnds());
        QTEST(world.takeCommands(), "commands");
        QCOMPARE(kuma.error().has_value(), QTest::currentDataTag() != QByteArray("info"));
        if (kuma.error()) {
            QCOMPARE(*kuma.error(), (OpError{QStringLiteral("Cancelled."), QString()}));
        }
        // Nothing was downloaded: the command was not even started.
        QVERIFY(world.docker().images.empty());
        QVERIFY(!world.docker().container);
        QVERIFY(kuma.pullLog().isEmpty());
    }

    void cancelDuringTheImageProbeOfAPresentImageBringsNothingUp() {
        ControllerFixture world;
        standin::addImage(world.docker());
        world.delay("image inspect", 5s, 1);
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(1s);
        kuma.cancelOperation();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"info", "inspect", "image inspect", "inspect"}));
        QVERIFY(!kuma.error());
        QVERIFY(!world.docker().container);
    }

    void cancelEndsTheDownload_data() {
        QTest::addColumn<bool>("compose");
        QTest::newRow("compose") << true;
        QTest::newRow("plain") << false;
    }

    void cancelEndsTheDownload() {
        QFETCH(const bool, compose);
        ControllerFixture world;
        world.docker().compose = compose;
        world.docker().pace = 1;
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(6s);
        QVERIFY(kuma.pulling());
        QCOMPARE(kuma.busy(), downloading);
        QVERIFY(!kuma.pullLog().isEmpty());
        kuma.cancelOperation();
        world.settle();
        QVERIFY(!kuma.pulling());
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.error()->message, QStringLiteral("Cancelled."));
        QVERIFY(!kuma.error()->details.isEmpty());
        QVERIFY(kuma.error()->details.startsWith(kuma.pullLog()) || compose);
        QVERIFY(world.docker().images.empty());
        QVERIFY(!world.docker().container);
        // The next start downloads from the beginning.
        kuma.start();
        QVERIFY(!kuma.error());
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.kuma() == KumaState::running);
    }

    void cancelAfterTheDownloadBringsNothingUp() {
        ControllerFixture world;
        // Told to stop, it finishes all the same, as old clients do.
        world.docker().overrides.push_back(
            {.command = "compose pull", .exitCode = 0, .out = "Pulled", .delay = 5000, .ignoresTerm = true});
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(1s);
        QVERIFY(kuma.pulling());
        kuma.cancelOperation();
        world.settle();
        QVERIFY(kuma.pulling());
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.error(), (OpError{QStringLiteral("Cancelled."), QStringLiteral("Pulled")}));
        QVERIFY(!world.takeCommands().contains(QStringLiteral("compose up")));
    }

    void cancelWhileBringingUpComesTooLate() {
        ControllerFixture world;
        standin::addImage(world.docker());
        world.delay("compose up", 5s, 1);
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(1s);
        kuma.cancelOperation();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.error());
        QCOMPARE(world.docker().container->state, std::string("running"));
    }

    void cancelledOperationDoesNotCancelTheNext() {
        ControllerFixture world;
        world.delay("info", 5s, 1);
        KumaController& kuma = world.controller();
        kuma.start();
        world.settle();
        kuma.cancelOperation();
        QVERIFY(world.operationEnds());
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.error());
        QVERIFY(kuma.kuma() == KumaState::running);
    }

    void logOfTheDownloadIsLiveAndCapped() {
        ControllerFixture world;
        world.docker().pace = 1;
        KumaController& kuma = world.controller();
        kuma.start();
        world.advance(4s);
        const QString early = kuma.pullLog();
        QVERIFY(early.contains(QStringLiteral("Pulling")));
        world.advance(2s);
        QVERIFY(kuma.pullLog().startsWith(early) && kuma.pullLog().size() > early.size());
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.pullLog().contains(QStringLiteral("Pulled")));

        // The next download begins with an empty one.
        world.docker().images.clear();
        world.docker().container.reset();
        QString flood;
        for (int i = 0; i < 5000; ++i) {
            flood += QStringLiteral("line %1\n").arg(i);
        }
        world.answer("compose pull", 0, flood);
        world.docker().pullable.clear();
        kuma.start();
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.pullLog().size(), qsizetype(20000));
        QVERIFY(flood.endsWith(kuma.pullLog()));
    }

    void secondRequestIsDropped() {
        ControllerFixture world;
        world.latency = [](const QString&) { return 1s; };
        KumaController& kuma = world.controller();
        kuma.start();
        kuma.start();
        kuma.stop();
        kuma.restart();
        QCOMPARE(kuma.busy(), starting);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"info", "inspect", "image inspect", "compose version", "compose pull",
                                              "compose up", "inspect"}));
        QVERIFY(kuma.kuma() == KumaState::running);
    }

    void stopWhoseComposeFails() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.takeCommands();
        const qsizetype before = world.commands().size();
        kuma.stop();
        QCOMPARE(kuma.busy(), QStringLiteral("Stopping…"));
        QVERIFY(world.operationEnds());
        // The file of the project is not there yet, so compose fails, and the plain stop does it.
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect", "compose stop", "stop", "inspect"}));
        const Command& stop = world.commands().at(before + 2);
        QCOMPARE(stop.arguments,
                 names({"compose", "-p", "orvanel", "-f"}) + QStringList(kuma.composeURL()) + names({"stop"}));
        QCOMPARE(stop.limit.count(), 60.0);
        const Command& plainStop = world.commands().at(before + 3);
        QCOMPARE(plainStop.arguments, names({"stop", "orvanel"}));
        QCOMPARE(plainStop.limit.count(), 60.0);
        QVERIFY(!kuma.error());
        QVERIFY(kuma.kuma() == KumaState::stopped);
    }

    void stopOfAStartedServer_data() {
        QTest::addColumn<bool>("compose");
        QTest::addColumn<QStringList>("commands");
        QTest::newRow("compose") << true << names({"inspect", "inspect", "compose stop", "inspect"});
        QTest::newRow("plain") << false << names({"inspect", "stop", "inspect"});
    }

    void stopOfAStartedServer() {
        QFETCH(const bool, compose);
        ControllerFixture world;
        world.docker().compose = compose;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.takeCommands();
        kuma.stop();
        QVERIFY(world.operationEnds());
        QTEST(world.takeCommands(), "commands");
        QVERIFY(!kuma.error());
        QVERIFY(kuma.kuma() == KumaState::stopped);
        QVERIFY(kuma.dockerState() == DockerState::ready);
        QCOMPARE(world.docker().container->state, std::string("exited"));
    }

    void stopWithNothingToStop() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.stop(); // the tool is not known yet
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"inspect", "compose version"})); // only the look afterwards
        kuma.stop();                                                           // no container
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect"}));
        QVERIFY(!kuma.error());
    }

    void stopThatFailsIsTold() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.answer("compose stop", 1, QStringLiteral("compose cannot"));
        world.answer("stop", 1, QStringLiteral("docker cannot"));
        kuma.stop();
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.error(), (OpError{QStringLiteral("Docker reported an error."), QStringLiteral("docker cannot")}));
        QVERIFY(!kuma.suggestedPort());
    }

    void restartStopsAndStarts() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.takeCommands();
        kuma.restart();
        QCOMPARE(kuma.busy(), QStringLiteral("Restarting…"));
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect", "compose stop", "info", "inspect", "image inspect",
                                              "compose up", "inspect"}));
        QVERIFY(!kuma.error());
        QVERIFY(kuma.kuma() == KumaState::running);
    }

    void restartWhoseStopFailsDoesNotStart() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.takeCommands();
        world.answer("compose stop", 1, QStringLiteral("no"));
        world.answer("stop", 1, QString());
        kuma.restart();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.takeCommands(), names({"inspect", "inspect", "compose stop", "stop", "inspect"}));
        QCOMPARE(kuma.error(), (OpError{QStringLiteral("Docker reported an error."), QStringLiteral("(no output)")}));
    }

    void restartWithNothingRunningStarts() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.restart();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.error());
        QVERIFY(kuma.kuma() == KumaState::running);
    }

    void cancelDuringTheStopOfARestartDoesNotStart() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.delay("compose stop", 5s, 1);
        kuma.restart();
        world.advance(1s);
        kuma.cancelOperation();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.docker().container->state, std::string("exited"));
        QVERIFY(!kuma.error());
    }

    void changedSettingsReachTheServerAtTheNextStart() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        kuma.setPort(4002);
        kuma.setImageTag(QStringLiteral("2.6"));
        kuma.restart();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.error());
        QCOMPARE(world.docker().container->port, 4002);
        QCOMPARE(world.docker().container->image, std::string("louislam/uptime-kuma:2.6"));
    }

    void removeEverythingAsksFirst() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.takeCommands();
        world.home.write(QStringLiteral(".local/share/Orvanel/data/kuma.db"), "precious");
        kuma.removeEverything();
        QCOMPARE(world.dialogs.questions.size(), 1);
        const Alert& alert = world.dialogs.questions.first().alert;
        QVERIFY(alert.style == Alert::Style::Critical);
        QCOMPARE(alert.message, QStringLiteral("Remove everything?"));
        QCOMPARE(alert.informativeText,
                 QStringLiteral("This removes the Uptime Kuma container and permanently deletes all your monitors and "
                                "history in this folder:\n\n") +
                     kuma.dataDir() + QStringLiteral("\n\nThis cannot be undone."));
        QCOMPARE(alert.confirmButton, QStringLiteral("Delete Everything"));
        QCOMPARE(alert.cancelButton, QStringLiteral("Cancel"));
        world.advance(60s);
        QVERIFY(!kuma.busy());
        world.dialogs.answerAll(false);
        world.settle();
        QVERIFY(!kuma.busy());
        QVERIFY(world.takeCommands().isEmpty());
        QVERIFY(QFile::exists(kuma.dataDir() + QStringLiteral("/kuma.db")));
    }

    void removeEverything_data() {
        QTest::addColumn<bool>("compose");
        QTest::addColumn<QStringList>("commands");
        QTest::newRow("compose") << true << names({"inspect", "compose down", "inspect"});
        QTest::newRow("plain") << false << names({"inspect", "rm", "inspect"});
    }

    void removeEverything() {
        QFETCH(const bool, compose);
        ControllerFixture world;
        world.docker().compose = compose;
        world.page.status = statusPage({monitor(1, 1)});
        KumaController& kuma = world.controller();
        kuma.setSlug(QStringLiteral("home"));
        kuma.start();
        QVERIFY(world.operationEnds());
        kuma.begin();
        world.settle();
        QCOMPARE(kuma.monitors().size(), 1);
        world.home.write(QStringLiteral(".local/share/Orvanel/data/upload/logo.png"), "x");
        world.takeCommands();
        const qsizetype before = world.commands().size();
        kuma.removeEverything();
        world.dialogs.answerAll(true);
        world.settle();
        QCOMPARE(kuma.busy(), QStringLiteral("Removing…"));
        QVERIFY(world.operationEnds());
        QTEST(world.takeCommands().mid(0, 3), "commands");
        QCOMPARE(world.commands().at(before + 1).limit.count(), 90.0);
        QVERIFY(!kuma.error());
        QVERIFY(!world.docker().container);
        QVERIFY(!QFile::exists(kuma.dataDir()));
        QVERIFY(QFile::exists(kuma.composeURL()));
        QVERIFY(kuma.monitors().isEmpty());
        QVERIFY(kuma.kuma() == KumaState::stopped);
    }

    void removalThatFailsKeepsTheData_data() {
        QTest::addColumn<bool>("compose");
        QTest::newRow("compose") << true;
        QTest::newRow("plain") << false;
    }

    void removalThatFailsKeepsTheData() {
        QFETCH(const bool, compose);
        ControllerFixture world;
        world.docker().compose = compose;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.home.write(QStringLiteral(".local/share/Orvanel/data/kuma.db"), "precious");
        world.answer(compose ? "compose down" : "rm", 1, QStringLiteral("no"));
        kuma.removeEverything();
        world.dialogs.answerAll(true);
        world.settle();
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.error(), (OpError{QStringLiteral("Docker reported an error."), QStringLiteral("no")}));
        QVERIFY(QFile::exists(kuma.dataDir() + QStringLiteral("/kuma.db")));
        QVERIFY(world.docker().container.has_value());
    }

    void removalThatTakesTooLongKeepsTheData() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        world.hang("compose down");
        kuma.removeEverything();
        world.dialogs.answerAll(true);
        world.settle();
        world.advance(89999ms);
        QVERIFY(kuma.busy().has_value());
        world.advance(1ms);
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.error()->message, QStringLiteral("Docker did not answer in time."));
        QVERIFY(QFile::exists(kuma.dataDir()));
    }

    void removalWithoutAContainerDeletesTheData() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        for (const bool isDockerThere : {true, false}) {
            world.installedDocker = isDockerThere ? std::optional(QStringLiteral("/opt/bin/docker")) : std::nullopt;
            kuma.recheck();
            QVERIFY(world.everythingEnds());
            world.home.write(QStringLiteral(".local/share/Orvanel/data/kuma.db"), "x");
            world.takeCommands();
            kuma.removeEverything();
            world.dialogs.answerAll(true);
            world.settle();
            QVERIFY(world.operationEnds());
            QVERIFY(!kuma.error());
            QVERIFY(!QFile::exists(kuma.dataDir()));
            QCOMPARE(world.takeCommands(), isDockerThere ? names({"inspect", "inspect"}) : QStringList());
        }
    }

    void removalConfirmedDuringAnotherOperationIsDropped() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.removeEverything();
        world.delay("info", 5s);
        kuma.start();
        world.settle();
        world.dialogs.answerAll(true);
        world.settle();
        QCOMPARE(kuma.busy(), starting);
        QVERIFY(world.operationEnds());
        QVERIFY(world.everythingEnds());
        QVERIFY(QFile::exists(kuma.dataDir()));
        QVERIFY(world.docker().container.has_value());
    }

    void logs_data() {
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("text");
        const auto none = QStringLiteral("No logs. The container may not exist yet.");
        QTest::newRow("lines") << 0 << "one\ntwo\n"
                               << "one\ntwo\n";
        QTest::newRow("as they are") << 0 << "\x1b[36m  <b>\x1b[0m\n\n"
                                     << "\x1b[36m  <b>\x1b[0m\n\n";
        QTest::newRow("a quiet server") << 0 << QString() << QString();
        QTest::newRow("failed without a word") << 1 << QString() << none;
        QTest::newRow("failed with words") << 1 << "Error response from daemon\n"
                                           << "Error response from daemon\n";
    }

    void logs() {
        QFETCH(const int, exitCode);
        QFETCH(const QString, output);
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        world.answer("logs", exitCode, output);
        world.takeCommands();
        const qsizetype before = world.commands().size();
        QTEST(await(world.controller().fetchLogs()), "text");
        QCOMPARE(world.takeCommands(), names({"logs"}));
        QCOMPARE(world.commands().at(before).arguments, names({"logs", "--tail", "300", "orvanel"}));
        QCOMPARE(world.commands().at(before).limit.count(), 15.0);
    }

    void logsWithoutATool() {
        ControllerFixture world;
        QCOMPARE(await(world.controller().fetchLogs()), QStringLiteral("Docker was not found."));
        QVERIFY(world.commands().isEmpty());
    }

    void logsOfADockerThatHangs() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        world.hang("logs");
        auto logs = world.controller().fetchLogs();
        world.advance(14999ms);
        QVERIFY(!logs.isReady());
        world.advance(1ms);
        QCOMPARE(await(std::move(logs)), QStringLiteral("No logs. The container may not exist yet."));
    }

    void logsDuringAnOperation() {
        ControllerFixture world;
        QVERIFY(world.isPolledAsRunning());
        KumaController& kuma = world.controller();
        world.docker().log = "hello\n";
        world.delay("compose stop", 5s);
        kuma.stop();
        world.settle();
        QCOMPARE(await(kuma.fetchLogs()), QStringLiteral("hello\n"));
        QCOMPARE(kuma.busy(), QStringLiteral("Stopping…"));
    }

    void operationThatEndsLooksAtOnce() {
        ControllerFixture world;
        world.page.answers = false;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.kuma() == KumaState::starting);
        QCOMPARE(kuma.statusLine(), QStringLiteral("Uptime Kuma is starting…"));
    }
};

QTEST_GUILESS_MAIN(TestContainerOperations)
#include "TestContainerOperations.moc"
