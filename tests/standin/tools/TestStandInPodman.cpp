#include "standin/tools/InProcessDocker.h"
#include "support/Await.h"
#include "support/FakeClock.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::standin;
using namespace orvanel::test;

namespace {

const std::string fullName = "docker.io/louislam/uptime-kuma:2";

/// Podman in a world of its own, which takes no time.
struct Podman {
    Podman() { makePodman(docker.state()); }

    CommandResult run(const QString& command) {
        return await(
            docker.runner()(u"/usr/bin/docker"_s, command.split(u' '), std::chrono::seconds(60), nullptr, nullptr));
    }

    FakeClock clock;
    InProcessDocker docker{&clock};
};

const auto start = u"run -d --name orvanel --restart unless-stopped -p 127.0.0.1:3001:3001 -v /data:/app/data "
                   "docker.io/louislam/uptime-kuma:2"_s;

} // namespace

/// The words and exit codes that were recorded from podman 4.3.1.
class TestStandInPodman : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void answers_data() {
        QTest::addColumn<bool>("hasContainer");
        QTest::addColumn<QString>("command");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("says");
        const auto row = [](const char* name, bool hasContainer, const QString& command, int status,
                            const QString& says) { QTest::newRow(name) << hasContainer << command << status << says; };
        row("info", false, u"info"_s, 0, u"host:\n"_s);
        row("compose", false, u"compose version"_s, 125, u"Error: unrecognized command `podman compose`"_s);
        row("inspect", true, u"inspect -f {{.State.Status}} orvanel"_s, 0, u"\nrunning\n"_s);
        row("inspect of nothing", false, u"inspect -f {{.State.Status}} orvanel"_s, 125,
            u"Error: inspecting object: no such object: \"orvanel\""_s);
        row("image by its short name", true, u"image inspect louislam/uptime-kuma:2"_s, 0, u"docker.io/louislam"_s);
        row("no image", false, u"image inspect louislam/uptime-kuma:2"_s, 125,
            u"Error: inspecting object: louislam/uptime-kuma:2: image not known"_s);
        row("short name", false, u"pull louislam/uptime-kuma:2"_s, 125, u"did not resolve to an alias"_s);
        row("full name", false, u"pull docker.io/louislam/uptime-kuma:2"_s, 0,
            u"Trying to pull docker.io/louislam/uptime-kuma:2..."_s);
        row("image that nobody has", false, u"pull docker.io/louislam/other:2"_s, 125, u"manifest unknown"_s);
        row("run", false, start, 0, u"Trying to pull"_s);
        row("name that is taken", true, start, 125, u"the container name \"orvanel\" is already in use by "_s);
        row("stop", true, u"stop orvanel"_s, 0, u"orvanel\n"_s);
        row("stop of nothing", false, u"stop orvanel"_s, 125, u"no container with name or ID \"orvanel\" found"_s);
        row("logs of nothing", false, u"logs --tail 300 orvanel"_s, 125, u"no such container"_s);
        row("unpause of what runs", true, u"unpause orvanel"_s, 125, u"is not paused, can't unpause"_s);
        row("rm", true, u"rm -f orvanel"_s, 0, u"orvanel\n"_s);
    }

    void answers() {
        QFETCH(const bool, hasContainer);
        QFETCH(const QString, command);
        Podman podman;
        if (hasContainer) {
            addContainer(podman.docker.state(), "running", 3001, fullName);
        }
        const CommandResult result = podman.run(command);
        QTEST(result.status, "status");
        QVERIFY2(result.output.startsWith(u"Emulate Docker CLI using podman."_s), qPrintable(result.output));
        QFETCH(const QString, says);
        QVERIFY2(result.output.contains(says), qPrintable(result.output));
    }

    void removingNothingIsSilent() {
        Podman podman;
        podman.docker.state().warning.clear();
        const CommandResult result = podman.run(u"rm -f orvanel"_s);
        QVERIFY(result.isSuccess());
        QCOMPARE(result.output, QString());
    }

    void aTakenPortLeavesTheContainer() {
        Podman podman;
        podman.docker.state().portHolder = PortHolder::process;
        const CommandResult result = podman.run(start);
        QCOMPARE(result.status, 126);
        QVERIFY(result.output.contains(u"listen tcp4 127.0.0.1:3001: bind: address already in use"_s));
        QCOMPARE(podman.docker.state().container->state, std::string("created"));
    }

    void podmanComposeAlwaysSucceeds() {
        Podman podman;
        podman.docker.state().compose = true;
        QVERIFY(podman.run(u"compose version"_s).output.contains(u"podman-composer version  1.0.3"_s));
        const CommandResult up = podman.run(u"compose -p orvanel -f /nowhere up -d"_s);
        QVERIFY(up.isSuccess());
        QVERIFY(up.output.endsWith(u"exit code: 125\n"_s));
        QVERIFY(!podman.docker.state().container);
    }
};

ORVANEL_TEST(TestStandInPodman)
#include "TestStandInPodman.moc"
