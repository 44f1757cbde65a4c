#include "RuntimeWorld.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto install = u"pkexec install"_s;
const auto join = u"pkexec join"_s;
const auto question = u"Waiting for your password"_s;
const auto installing = u"Installing Docker with this computer's package manager"_s;
const auto letting = u"Letting you use Docker"_s;
const auto waiting = u"Waiting for Docker to answer"_s;

/// A computer without docker, with a package manager and polkit.
class PackageWorld : public RuntimeWorld {
public:
    explicit PackageWorld(const QStringList& tools = {})
        : RuntimeWorld(tools) {
        rootHelper = RootHelper{u"/usr/bin/pkexec"_s, u"/libexec/helper"_s, u"apt-get install docker.io"_s};
    }

    /// The titles that are shown, one after the other; empty for none.
    QStringList titles;
    void recordTitles(QObject* owner) {
        QObject::connect(&controller(), &KumaController::changed, owner, [this] {
            const QString title = controller().state().setupBusy.value_or(QString());
            if (titles.isEmpty() || titles.last() != title) {
                titles.append(title);
            }
            if (title == installing) {
                toolsElsewhere.insert(u"docker"_s, u"/usr/bin/docker"_s);
            }
        });
    }
};

/// The helper after the password: deaf to the signal, and done ten seconds later.
QCoro::Task<CommandResult> work(Clock* clock, std::shared_ptr<ProcessHandle> handle,
                                DockerCLI::OutputCallback onOutput) {
    onOutput(u"$ apt-get\n"_s);
    co_await sleepFor(clock, 10s);
    co_return CommandResult{.status = 68, .output = u"$ apt-get\n"_s, .cancelled = handle->isCancelled()};
}

} // namespace

/// What one click on "Install Docker" or "Let me use Docker" does.
class TestDockerInstaller : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void offersWhatTheComputerCan() {
        PackageWorld world;
        world.look();
        QCOMPARE(world.controller().state().installCommand, u"apt-get install docker.io"_s);
        QVERIFY(world.controller().state().canBeLetIn);
        world.rootHelper->installCommand.reset();
        world.look();
        QVERIFY(!world.controller().state().installCommand);
        QVERIFY(world.controller().state().canBeLetIn);
        world.rootHelper.reset();
        world.look();
        QVERIFY(!world.controller().state().canBeLetIn);
    }

    void installsAndWaits() {
        PackageWorld world;
        world.docker().pace = 0.1;
        world.look();
        QVERIFY(world.controller().state().dockerState == DockerState::missing);
        world.takeCommands();
        world.recordTitles(this);
        world.controller().installDocker();
        QVERIFY(world.setupEnds());
        world.controller().disconnect(this);

        QVERIFY2(!world.controller().state().error, qPrintable(world.message()));
        QCOMPARE(world.takeCommands(), QStringList({install, u"ps"_s, u"inspect"_s, u"compose version"_s}));
        QCOMPARE(world.titles, QStringList({question, installing, waiting, QString()}));
        QVERIFY(world.controller().state().dockerState == DockerState::ready);
        QCOMPARE(world.controller().state().dockerPath, u"/usr/bin/docker"_s);
        QCOMPARE(world.controller().state().composeAvailable, true);
        const Command& command = *std::find_if(world.commands().begin(), world.commands().end(),
                                               [](const Command& one) { return one.name() == install; });
        QCOMPARE(command.path, u"/usr/bin/pkexec"_s);
        QCOMPARE(command.arguments, QStringList({u"--disable-internal-agent"_s, u"/libexec/helper"_s, u"install"_s}));
        const QString log = world.controller().state().setupLog;
        QVERIFY2(log.startsWith(u"$ pkexec /libexec/helper install\n$ /usr/bin/apt-get"_s), qPrintable(log));
        QVERIFY(log.endsWith(u"ann may use Docker now.\n"_s));
    }

    void dockerThatStaysSilent() {
        PackageWorld world;
        world.recordTitles(this);
        world.answer("ps", 1, u"Cannot connect\n"_s);
        world.controller().installDocker();
        QVERIFY(world.setupEnds());
        world.controller().disconnect(this);
        QCOMPARE(world.takeCommands().count(u"ps"_s), 10);
        QCOMPARE(world.message(), u"Docker was installed, but it does not answer."_s);
        QCOMPARE(world.details(), u"Cannot connect\n"_s);
    }

    void toolThatIsNotThereAfterwards() {
        PackageWorld world;
        world.controller().installDocker();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"The docker command line tool was not found after the install."_s);
        QVERIFY(world.details().contains(u"apt-get"_s));
    }

    void failuresAreToldWithTheirOutput() {
        PackageWorld world;
        world.answer("pkexec install", 70, u"E: Could not get lock /var/lib/dpkg/lock-frontend\n"_s);
        world.controller().installDocker();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"Another program is installing software right now. Try again when it is done."_s);
        QVERIFY(world.details().startsWith(u"E: Could not get lock"_s));
        QVERIFY(world.controller().state().setupLog.endsWith(world.details()));
        QVERIFY(!world.controller().state().setupBusy);
        QVERIFY(!world.takeCommands().contains(u"ps"_s));
    }

    void cancelBeforeThePassword() {
        PackageWorld world;
        world.hang("pkexec install");
        world.controller().installDocker();
        world.settle();
        QCOMPARE(world.controller().state().setupBusy, question);
        world.controller().cancelSetup();
        QCOMPARE(world.controller().state().setupBusy, question);
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"Cancelled."_s);
        QCOMPARE(world.resultOf(install).status, 128 + 15);
    }

    /// The package manager has begun: the helper ends by itself.
    void cancelDuringTheWork() {
        PackageWorld world;
        world.runner =
            [&world, usual = world.runner](QString path, QStringList arguments, std::chrono::duration<double> limit,
                                           std::shared_ptr<ProcessHandle> handle, DockerCLI::OutputCallback onOutput) {
                return path.endsWith(u"pkexec"_s) ? work(&world.clock, handle, onOutput)
                                                  : usual(path, arguments, limit, handle, onOutput);
            };
        world.controller().installDocker();
        world.advance(1s);
        QCOMPARE(world.controller().state().setupBusy, installing);
        world.controller().cancelSetup();
        world.advance(1s);
        QCOMPARE(world.controller().state().setupBusy, u"Stopping after the step that is under way"_s);
        QVERIFY(!world.controller().isIdle());
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"Cancelled after the step that was under way."_s);
        QVERIFY(!world.controller().state().setupBusy);
    }

    void secondRequestIsIgnored() {
        PackageWorld world;
        world.hang("pkexec install");
        world.controller().installDocker();
        world.settle();
        world.takeCommands();
        world.controller().installDocker();
        world.controller().joinDockerGroup();
        world.controller().installAndStartRuntime();
        world.settle();
        QCOMPARE(world.takeCommands(), QStringList());
        world.controller().cancelSetup();
        QVERIFY(world.setupEnds());
    }

    void withoutPolkit() {
        PackageWorld world;
        world.rootHelper.reset();
        world.controller().installDocker();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"polkit is not installed, so Orvanel cannot ask for your password."_s);
        QCOMPARE(world.takeCommands(), QStringList());
    }

    void joinOpensDockerAtOnce() {
        PackageWorld world({u"docker"_s});
        world.docker().daemon = standin::Daemon::denied;
        world.look();
        QVERIFY(world.controller().state().dockerState == DockerState::notRunning);
        world.takeCommands();
        world.recordTitles(this);
        world.controller().joinDockerGroup();
        QVERIFY(world.setupEnds());
        world.controller().disconnect(this);
        QCOMPARE(world.takeCommands(), QStringList({join, u"ps"_s, u"inspect"_s, u"compose version"_s}));
        QCOMPARE(world.titles, QStringList({question, letting, QString()}));
        QVERIFY(world.controller().state().dockerState == DockerState::ready);
        QVERIFY(!world.controller().state().error);
    }

    void joinThatIsNotEnough() {
        PackageWorld world({u"docker"_s});
        world.docker().daemon = standin::Daemon::denied;
        world.answer("pkexec join", 0, u"done\n"_s);
        world.look();
        world.controller().joinDockerGroup();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"You are in the group “docker” now. Log out and back in to use Docker."_s);
        QVERIFY(world.controller().state().dockerState == DockerState::notRunning);
    }

    void joinThatIsRefused() {
        PackageWorld world({u"docker"_s});
        world.docker().daemon = standin::Daemon::denied;
        world.answer("pkexec join", 126, u"Error executing command as another user: Request dismissed\n"_s);
        world.look();
        world.controller().joinDockerGroup();
        QVERIFY(world.setupEnds());
        QCOMPARE(world.message(), u"The question for your password was dismissed, so nothing was changed."_s);
    }
};

ORVANEL_TEST(TestDockerInstaller)
#include "TestDockerInstaller.moc"
