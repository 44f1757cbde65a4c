#include "RuntimeWorld.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto service = u"docker.service"_s;
const auto rootless = u"user docker.service"_s;
const auto snap = u"snap.docker.dockerd.service"_s;
const UnitState stopped{u"loaded"_s, u"inactive"_s};
const UnitState masked{u"masked"_s, u"inactive"_s};
const UnitState running{u"loaded"_s, u"active"_s};
const UnitState unknown{u"not-found"_s, u"inactive"_s};

/// A computer whose Docker is installed and does not run.
class ServiceWorld : public RuntimeWorld {
public:
    ServiceWorld()
        : RuntimeWorld({u"docker"_s}) {
        docker().daemon = standin::Daemon::down;
        units.onStart = [this] { docker().daemon = standin::Daemon::up; };
    }

    QString offered() {
        const auto unit = controller().state().stoppedService;
        return !unit ? QString() : (unit->manager == ServiceUnit::Manager::user ? u"user "_s : QString()) + unit->name;
    }

    /// One who offers to start the system's service.
    void lookAtStopped() {
        units.states = {{service, stopped}};
        look();
        takeCommands();
    }
};

} // namespace

/// Finding the service of Docker that is stopped, and starting it.
class TestDockerService : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void choosesTheService_data() {
        using States = QMap<QString, UnitState>;
        QTest::addColumn<States>("states");
        QTest::addColumn<QString>("complaint");
        QTest::addColumn<QString>("expected");
        const auto down = u"Cannot connect to the Docker daemon at unix:///var/run/docker.sock."_s;
        const auto own = u"Cannot connect to the Docker daemon at unix:///run/user/1000/docker.sock."_s;
        QTest::newRow("none") << States() << down << QString();
        QTest::newRow("system") << States{{service, stopped}} << down << service;
        QTest::newRow("failed") << States{{service, {u"loaded"_s, u"failed"_s}}} << down << service;
        QTest::newRow("coming up") << States{{service, {u"loaded"_s, u"activating"_s}}} << down << service;
        QTest::newRow("runs") << States{{service, running}} << down << QString();
        QTest::newRow("no file") << States{{service, unknown}} << down << QString();
        QTest::newRow("only the socket") << States{{service, unknown}, {u"docker.socket"_s, stopped}} << down
                                         << u"docker.socket"_s;
        QTest::newRow("rootless") << States{{rootless, stopped}} << down << rootless;
        QTest::newRow("the system's first") << States{{service, stopped}, {rootless, stopped}} << down << service;
        QTest::newRow("only what the tool asks") << States{{service, stopped}, {rootless, stopped}} << own << rootless;
        QTest::newRow("not what the tool does not ask") << States{{service, stopped}} << own << QString();
        const auto other = u"Cannot connect to the Docker daemon at unix:///home/anna/.colima/default/docker.sock."_s;
        QTest::newRow("another engine") << States{{service, stopped}, {rootless, stopped}} << other << QString();
        const auto far = u"error during connect: Get \"http://server:2375/v1.24/info\": no such host"_s;
        QTest::newRow("another computer's") << States{{service, stopped}} << far << QString();
        const auto silent = u"Is the docker daemon running?"_s;
        QTest::newRow("no address") << States{{service, stopped}} << silent << service;
        QTest::newRow("runs without its socket")
            << States{{service, running}, {u"docker.socket"_s, stopped}} << down << QString();
        QTest::newRow("snap's") << States{{snap, stopped}} << down << snap;
        QTest::newRow("masked") << States{{service, masked}} << down << service;
        QTest::newRow("another than the masked") << States{{service, masked}, {snap, stopped}} << down << snap;
        QTest::newRow("a runtime that refuses")
            << States{{service, stopped}} << u"permission denied while trying to connect to the Docker daemon socket"_s
            << QString();
    }
    void choosesTheService() {
        using States = QMap<QString, UnitState>;
        QFETCH(const States, states);
        QFETCH(const QString, complaint);
        QFETCH(const QString, expected);
        ServiceWorld world;
        world.units.states = states;
        world.answer("inspect", 1, complaint);
        world.look();
        QVERIFY(world.controller().state().dockerState == DockerState::notRunning);
        QCOMPARE(world.offered(), expected);
    }

    void isForgottenWhenDockerAnswers() {
        ServiceWorld world;
        world.lookAtStopped();
        QCOMPARE(world.offered(), service);
        const int looks = world.units.looks;
        world.docker().daemon = standin::Daemon::up;
        world.look();
        QVERIFY(world.controller().state().dockerState == DockerState::ready);
        QCOMPARE(world.offered(), QString());
        // Nobody is asked while there is no need.
        QCOMPARE(world.units.looks, looks);
    }

    void startsAndWaits() {
        ServiceWorld world;
        world.lookAtStopped();
        world.units.onStart = [] {};
        world.controller().startDockerService();
        world.settle();
        QCOMPARE(world.controller().state().setupBusy, u"Waiting for Docker to answer"_s);
        world.advance(5s);
        world.docker().daemon = standin::Daemon::up;
        QVERIFY(world.setupEnds());
        QCOMPARE(world.units.started, QStringList(service));
        QCOMPARE(world.takeCommands(), names({"ps", "ps", "ps", "ps", "inspect", "compose version"}));
        QVERIFY(world.controller().state().dockerState == DockerState::ready);
        QVERIFY(!world.controller().state().error && !world.controller().state().setupBusy);
        QCOMPARE(world.controller().state().setupLog, u"$ systemctl start docker.service\n"_s);
    }

    void rootlessOneIsTheUsersOwn() {
        ServiceWorld world;
        world.units.states = {{rootless, stopped}};
        world.look();
        world.controller().startDockerService();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.units.started, QStringList(rootless));
        QCOMPARE(world.controller().state().setupLog, u"$ systemctl --user start docker.service\n"_s);
    }

    void nothingToStart() {
        ServiceWorld world;
        world.look();
        world.controller().startDockerService();
        QVERIFY(world.controller().isIdle());
        QVERIFY(world.units.started.isEmpty());
    }

    void refusals_data() {
        QTest::addColumn<UnitRefusal>("refusal");
        QTest::addColumn<QString>("sentence");
        using Reason = UnitRefusal::Reason;
        QTest::newRow("password") << UnitRefusal{Reason::notAllowed, u"why"_s}
                                  << u"The password was not accepted, or the question for it was dismissed, so Docker "
                                     "was not started."_s;
        QTest::newRow("no agent")
            << UnitRefusal{Reason::noAgent, u"why"_s}
            << u"This desktop has no program that asks for your password, so Docker was not started."_s;
        QTest::newRow("masked") << UnitRefusal{Reason::masked, u"why"_s}
                                << u"Docker's service is masked on this computer. Run “sudo systemctl unmask "
                                   "docker.service”, then try again."_s;
        QTest::newRow("missing") << UnitRefusal{Reason::missing, u"why"_s} << u"Docker's service no longer exists."_s;
        QTest::newRow("other") << UnitRefusal{Reason::other, u"why"_s} << u"Docker's service could not be started."_s;
    }
    void refusals() {
        QFETCH(const UnitRefusal, refusal);
        QFETCH(const QString, sentence);
        ServiceWorld world;
        world.lookAtStopped();
        world.units.refusal = refusal;
        world.controller().startDockerService();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.controller().state().error, (OpError{sentence, u"why"_s}));
        QCOMPARE(world.takeCommands(), QStringList());
    }

    void oneThatFailsTellsItsLastLines() {
        ServiceWorld world;
        world.installedTools.insert(u"journalctl"_s, u"/usr/bin/journalctl"_s);
        world.lookAtStopped();
        world.units.activeAfterStart = u"failed"_s;
        world.units.onStart = [&world] { world.units.states[service].result = u"exit-code"_s; };
        world.controller().startDockerService();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.takeCommands(), names({"ps", "journalctl"}));
        QCOMPARE(world.message(), u"Docker's service failed to start."_s);
        QCOMPARE(world.details(), u"docker.service: failed (exit-code)\nNov 21 03:08:27 computer dockerd[812]: failed "
                                  "to start daemon: no room"_s);
        const QStringList arguments = world.commands().last().arguments;
        QCOMPARE(arguments.sliced(arguments.size() - 2), QStringList({u"--unit"_s, service}));
    }

    void oneThatIsSlow() {
        ServiceWorld world;
        world.lookAtStopped();
        world.units.activeAfterStart = u"activating"_s;
        world.units.onStart = [] {};
        world.controller().startDockerService();
        world.advance(100s);
        QVERIFY(!world.controller().isIdle());
        world.docker().daemon = standin::Daemon::up;
        QVERIFY(world.setupEnds());
        QVERIFY(world.controller().state().dockerState == DockerState::ready);
    }

    void oneThatStaysSilent_data() {
        QTest::addColumn<QString>("active");
        QTest::addColumn<int>("looks");
        QTest::newRow("up") << u"active"_s << 10;
        QTest::newRow("never up") << u"activating"_s << 90;
    }
    void oneThatStaysSilent() {
        QFETCH(const QString, active);
        QFETCH(const int, looks);
        ServiceWorld world;
        world.lookAtStopped();
        world.units.activeAfterStart = active;
        world.units.onStart = [] {};
        world.controller().startDockerService();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.takeCommands().count(u"ps"_s), looks);
        QCOMPARE(world.message(), u"Docker's service was started, but Docker is not answering."_s);
        QVERIFY(world.details().contains(u"Cannot connect"_s));
    }

    /// What it depends on failed, so it never began.
    void oneThatNeverBegins() {
        ServiceWorld world;
        world.lookAtStopped();
        world.units.activeAfterStart = u"inactive"_s;
        world.units.onStart = [&world] { world.units.states[service].result = u"dependency"_s; };
        world.controller().startDockerService();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"Docker's service failed to start."_s);
        QCOMPARE(world.details(), u"docker.service: inactive (dependency)"_s);
    }

    void oneThatRefusesItsUser() {
        ServiceWorld world;
        world.lookAtStopped();
        world.units.onStart = [&world] { world.docker().daemon = standin::Daemon::denied; };
        world.controller().startDockerService();
        QVERIFY(world.setupEnds());
        QVERIFY(!world.controller().state().error);
        QVERIFY(world.controller().state().dockerState == DockerState::notRunning);
        QVERIFY(world.controller().state().runtimeDetails.contains(u"permission denied"_s));
        QCOMPARE(world.offered(), QString());
    }

    void cancelDuringTheQuestion() {
        ServiceWorld world;
        world.lookAtStopped();
        world.units.holds = true;
        world.controller().startDockerService();
        world.settle();
        QCOMPARE(world.controller().state().setupBusy, u"Starting Docker"_s);
        world.controller().cancelSetup();
        world.settle();
        QVERIFY(world.controller().isIdle());
        QCOMPARE(world.message(), u"Cancelled."_s);
    }

    void cancelDuringTheWaitEndsItAtOnce() {
        ServiceWorld world;
        world.lookAtStopped();
        world.units.activeAfterStart = u"activating"_s;
        world.units.onStart = [] {};
        world.controller().startDockerService();
        world.advance(5s);
        const auto looks = world.takeCommands().count(u"ps"_s);
        QVERIFY(looks > 1);
        world.controller().cancelSetup();
        world.settle();
        QVERIFY(world.controller().isIdle());
        QCOMPARE(world.message(), u"Cancelled."_s);
        QCOMPARE(world.takeCommands(), QStringList());
    }
};

ORVANEL_TEST(TestDockerService)
#include "TestDockerService.moc"
