#include "ControllerFixture.h"
#include "standin/kuma/KumaServer.h"
#include "standin/tools/StandInTools.h"
#include "statuspage/StatusPageClient.h"
#include "support/Await.h"
#include "support/TestClass.h"
#include "task/Clock.h"

#include <QDir>
#include <QFile>
#include <QTcpServer>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

int freePortOfTheMachine() {
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

/// A controller with everything real below it: children, pipes, ports and HTTP. Only the docker tool and the server in
/// its container are stand-ins, and these are real programs. The controller's own pauses pass on the fake clock.
class RealWorld {
public:
    RealWorld() {
        world.runner = &DockerCLI::run;
        world.adjust = [this](ControllerEnvironment& environment, HostFunctions& host) {
            host.findDocker = &DockerCLI::find;
            host.findTool = &DockerCLI::findTool;
            host.isPortFree = &DockerCLI::isPortFree;
            host.isPortFreeForListening = &DockerCLI::isPortFreeForListening;
            environment.pageAnswers = [this](int port) { return m_client.pageAnswers(port); };
            environment.fetchStatusPage = [this](int port, QString slug) { return m_client.fetch(port, slug); };
        };
        tools.change([this](standin::DockerState& state) {
            state.server = KumaServer::program().toStdString();
            state.serverFolder = world.home.path(u"server"_s).toStdString();
        });
        QDir().mkpath(world.home.path(u"server"_s));
        world.controller().setPort(freePortOfTheMachine());
    }

    /// Polls and moves the clock until `condition` holds.
    bool polledUntil(const std::function<bool()>& condition) {
        world.controller().begin();
        return waitUntil([&] {
            if (condition()) {
                return true;
            }
            if (world.underWay().isEmpty()) {
                world.advance(std::max(world.clock.untilNextTimer(), 0ms));
            }
            return condition();
        });
    }

private:
    StatusPageClient m_client{SystemClock::instance()};

public:
    standin::StandInTools tools;
    ControllerFixture world;
};

} // namespace

class TestRealTools : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void conversionIsLeftInPeace() {
        RealWorld real;
        ControllerFixture& world = real.world;
        KumaController& kuma = world.controller();
        kuma.setStopOnQuit(true);
        world.home.write(u"server/kuma-script"_s, "conversion ms=1500 clearing=600\n");
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(real.polledUntil([&] { return kuma.state().conversion && kuma.state().conversion->percent >= 4; }));
        QVERIFY(kuma.state().kuma == KumaState::starting);

        kuma.stop();
        QVERIFY(waitUntil([&] {
            world.settle();
            return !world.dialogs.questions.isEmpty();
        }));
        world.dialogs.questions.takeFirst().answer.complete(false);
        QVERIFY(world.operationEnds());
        await(kuma.runStop());
        QVERIFY(real.polledUntil([&] { return kuma.state().conversion == Conversion{}; }));
        QVERIFY(real.polledUntil([&] { return kuma.state().kuma == KumaState::running; }));
        QVERIFY(!kuma.state().conversion);
    }

    void interruptedConversionIsFoundOut() {
        RealWorld real;
        ControllerFixture& world = real.world;
        KumaController& kuma = world.controller();
        world.home.write(u"server/kuma-script"_s, "conversion ms=60000 clearing=0\n");
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(real.polledUntil([&] { return kuma.state().conversion.has_value(); }));
        kuma.stop();
        QVERIFY(waitUntil([&] {
            world.settle();
            return !world.dialogs.questions.isEmpty();
        }));
        world.dialogs.questions.takeFirst().answer.complete(true);
        QVERIFY(world.operationEnds());
        QCOMPARE(real.tools.state().container->state, std::string("exited"));
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(real.polledUntil(
            [&] { return kuma.state().error && kuma.state().error->kind == ErrorKind::interruptedConversion; }));
        QVERIFY(!kuma.state().conversion);
    }

    void lifeOfAServer() {
        RealWorld real;
        ControllerFixture& world = real.world;
        KumaController& kuma = world.controller();
        real.tools.change([](standin::DockerState& state) { state.pace = 0.01; });

        // The first start downloads the image.
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY2(!kuma.state().error, qPrintable(kuma.state().error.value_or(OpError()).details));
        QCOMPARE(kuma.state().dockerPath, std::optional(real.tools.path(u"docker"_s)));
        QVERIFY(kuma.state().pullLog.contains(u"Pulling"_s));
        QVERIFY(kuma.state().pullLog.contains(u"Downloading"_s));
        QVERIFY(kuma.state().pullLog.contains(u"Pulled"_s));
        QCOMPARE(real.tools.commands().mid(0, 6),
                 names({"info", "inspect", "image inspect", "compose version", "compose pull", "compose up"}));
        QVERIFY(real.polledUntil([&] { return kuma.state().kuma == KumaState::running; }));
        QCOMPARE(real.tools.state().container->port, kuma.state().port);

        // The server's status page.
        world.home.write(
            u"server/pages/home.json"_s,
            R"({"config":{"title":"My page"},"publicGroupList":[{"name":"G","monitorList":[{"id":1,"name":"Web"}]}]})");
        world.home.write(u"server/heartbeats/home.json"_s,
                         R"({"heartbeatList":{"1":[{"status":0,"ping":12}]},"uptimeList":{"1_24":0.5}})");
        kuma.setSlug(u" Home "_s);
        QVERIFY(real.polledUntil([&] { return kuma.state().lastStatusUpdate.has_value(); }));
        QCOMPARE(kuma.state().statusTitle, u"My page"_s);
        QVERIFY(kuma.health() == Health::someDown);

        const QString logs = await(kuma.fetchLogs());
        QVERIFY(!logs.isEmpty());
        QVERIFY(!logs.startsWith(u"No logs"_s));

        kuma.restart();
        QVERIFY(world.operationEnds());
        QVERIFY2(!kuma.state().error, qPrintable(kuma.state().error.value_or(OpError()).details));
        QVERIFY(real.polledUntil([&] { return kuma.state().kuma == KumaState::running; }));

        kuma.stop();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QVERIFY(real.polledUntil([&] { return kuma.state().kuma == KumaState::stopped; }));
        QCOMPARE(real.tools.state().container->state, std::string("exited"));

        world.home.write(u".local/share/Orvanel/data/kuma.db"_s, "x");
        kuma.removeEverything();
        world.dialogs.answerAll(true);
        world.settle();
        QVERIFY(world.operationEnds());
        QVERIFY(!kuma.state().error);
        QVERIFY(!real.tools.state().container);
        QVERIFY(!QFile::exists(kuma.dataDir()));
        const QString noLogs = await(kuma.fetchLogs());
        QVERIFY(noLogs.contains(u"No such container"_s));
    }

    void lifeWithoutCompose() {
        RealWorld real;
        ControllerFixture& world = real.world;
        KumaController& kuma = world.controller();
        real.tools.change([](standin::DockerState& state) { state.compose = false; });
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY2(!kuma.state().error, qPrintable(kuma.state().error.value_or(OpError()).details));
        QVERIFY(real.polledUntil([&] { return kuma.state().kuma == KumaState::running; }));
        kuma.restart();
        QVERIFY(world.operationEnds());
        QVERIFY2(!kuma.state().error, qPrintable(kuma.state().error.value_or(OpError()).details));
        kuma.removeEverything();
        world.dialogs.answerAll(true);
        world.settle();
        QVERIFY(world.operationEnds());
        QVERIFY(!real.tools.state().container);
        const QStringList commands = real.tools.commands();
        QVERIFY(commands.contains(u"pull"_s) && commands.contains(u"run"_s));
        for (const QString& command : commands) {
            QVERIFY(!command.startsWith(u"compose "_s) || command == u"compose version");
            QVERIFY(command != u"?");
        }
    }

    void crashLoop() {
        RealWorld real;
        ControllerFixture& world = real.world;
        KumaController& kuma = world.controller();
        real.tools.change([](standin::DockerState& state) {
            standin::addImage(state);
            state.crashLoop = 1;
        });
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(real.polledUntil([&] { return kuma.state().kuma == KumaState::error; }));
        QVERIFY(kuma.state().error->kind == ErrorKind::restartLoop);
        QCOMPARE(kuma.state().error->message, u"Uptime Kuma keeps restarting. Open the logs to see why."_s);
        real.tools.change([](standin::DockerState& state) { state.crashLoop = 0; });
        kuma.restart();
        QVERIFY(world.operationEnds());
        QVERIFY(real.polledUntil([&] { return kuma.state().kuma == KumaState::running; }));
        QVERIFY(!kuma.state().error);
    }

    void cancelledDownloadLeavesNothingBehind() {
        RealWorld real;
        ControllerFixture& world = real.world;
        KumaController& kuma = world.controller();
        real.tools.change([](standin::DockerState& state) { state.pace = 20; });
        kuma.start();
        QVERIFY(waitUntil([&] { return kuma.state().pulling && !kuma.state().pullLog.isEmpty(); }));
        kuma.cancelOperation();
        QVERIFY(waitUntil([&] { return !kuma.state().busy; }));
        QCOMPARE(kuma.state().error->message, u"Cancelled."_s);
        QVERIFY(real.tools.state().images.empty());
        QVERIFY(!real.tools.state().container);
    }

    void warningsOfTheToolAreNotItsAnswer() {
        RealWorld real;
        KumaController& kuma = real.world.controller();
        real.tools.change([](standin::DockerState& state) {
            state.warning = "WARNING: Error loading config file: /root/.docker/config.json: not found\n";
        });
        kuma.start();
        QVERIFY(real.world.operationEnds());
        QVERIFY(real.polledUntil([&] { return kuma.state().kuma == KumaState::running; }));
    }

    void toolThatAppearsAndGoes() {
        RealWorld real;
        KumaController& kuma = real.world.controller();
        real.tools.remove(u"docker"_s);
        QVERIFY(real.polledUntil([&] { return kuma.state().dockerState == DockerState::missing; }));
        real.tools.put(u"docker"_s);
        QVERIFY(real.polledUntil([&] { return kuma.state().dockerState == DockerState::ready; }));
        real.tools.remove(u"docker"_s);
        QVERIFY(real.polledUntil([&] { return kuma.state().dockerState == DockerState::notRunning; }));
        kuma.recheck();
        QVERIFY(real.polledUntil([&] { return kuma.state().dockerState == DockerState::missing; }));
    }

    void overrideThatCannotBeRunFallsBack_data() {
        QTest::addColumn<QByteArray>("kind");
        QTest::newRow("a folder") << QByteArray("folder");
        QTest::newRow("not executable") << QByteArray("file");
        QTest::newRow("missing") << QByteArray("missing");
    }

    void overrideThatCannotBeRunFallsBack() {
        QFETCH(const QByteArray, kind);
        RealWorld real;
        KumaController& kuma = real.world.controller();
        const QString override = real.world.home.path(u"my docker"_s);
        if (kind == "folder") {
            QVERIFY(QDir().mkpath(override));
        } else if (kind == "file") {
            real.world.home.write(u"my docker"_s, "#!/bin/sh\n");
        }
        kuma.setDockerOverride(override);
        QVERIFY(real.polledUntil([&] { return kuma.state().dockerState == DockerState::ready; }));
        QCOMPARE(kuma.state().dockerPath, std::optional(real.tools.path(u"docker"_s)));
    }

    void overrideThatCanBeRunIsTaken() {
        RealWorld real;
        KumaController& kuma = real.world.controller();
        QVERIFY(real.polledUntil([&] { return kuma.state().dockerState == DockerState::ready; }));
        const QString script = real.world.home.write(
            u"my docker"_s, "#!/bin/sh\necho Cannot connect to the Docker daemon\nexit 1\n", true);
        kuma.setDockerOverride(u"  %1\n"_s.arg(script));
        QVERIFY(real.polledUntil([&] { return kuma.state().dockerState == DockerState::notRunning; }));
        QCOMPARE(kuma.state().dockerPath, std::optional(script));
        kuma.setDockerOverride(QString());
        QVERIFY(real.polledUntil([&] { return kuma.state().dockerState == DockerState::ready; }));
    }
};

ORVANEL_TEST(TestRealTools)
#include "TestRealTools.moc"
