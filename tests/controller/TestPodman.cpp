#include "BackupClicks.h"
#include "ControllerFixture.h"
#include "UpdateSteps.h"
#include "controller/ComposeFile.h"
#include "support/Await.h"
#include "support/TestClass.h"

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto shortName = u"louislam/uptime-kuma:2"_s;
const auto fullName = u"docker.io/louislam/uptime-kuma:2"_s;
const auto notice = u"Emulate Docker CLI using podman."_s;
/// In the words of podman's service, to which the docker tool talks.
const auto nameIsTaken =
    u" Network orvanel_default  Creating\n Network orvanel_default  Created\n Container orvanel  Creating\nError "
    u"response "
    "from daemon: container create: creating container storage: the container name \"orvanel\" is already in use by "
    "323814172ba2e6e9a0e4f76e3f132781791254c5cee525d1fed4d268ab9742dc. You have to remove that container to be able to "
    "reuse that name: that name is already in use\n"_s;

/// All images that any command so far has named.
QStringList namedImages(const ControllerFixture& world) {
    QStringList images;
    for (const Command& command : world.commands()) {
        for (const QString& argument : command.arguments) {
            if (argument.contains(u"uptime-kuma:"_s) && !images.contains(argument)) {
                images.append(argument);
            }
        }
    }
    return images;
}

/// A world in which podman answers under docker's name.
class PodmanWorld : public ControllerFixture {
public:
    PodmanWorld() { standin::makePodman(docker()); }

    [[nodiscard]] bool starts() {
        controller().start();
        return operationEnds() && controller().state().kuma == KumaState::running;
    }
    QString describe() {
        const std::optional<OpError>& error = controller().state().error;
        return error ? error->message + u'\n' + error->details : u"no error"_s;
    }
};

} // namespace

/// Podman in Docker's place, as distributions set it up.
class TestPodman : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theImageIsAskedForByItsFullName_data() {
        QTest::addColumn<bool>("hasPodmanCompose");
        QTest::newRow("no compose") << false;
        QTest::newRow("podman-compose") << true;
    }
    void theImageIsAskedForByItsFullName() {
        QFETCH(const bool, hasPodmanCompose);
        PodmanWorld world;
        world.docker().compose = hasPodmanCompose;
        QVERIFY2(world.starts(), qPrintable(world.describe()));
        QVERIFY2(!world.controller().state().error, qPrintable(world.describe()));
        QCOMPARE(world.takeCommands(),
                 names({"info", "inspect", "image inspect", "compose version", "pull", "run", "inspect"}));
        QCOMPARE(namedImages(world), QStringList(fullName));
        QCOMPARE(world.docker().container->image, fullName.toStdString());
        QVERIFY(textOf(world.controller().composeURL()).contains(u"image: "_s + fullName));
        QCOMPARE(world.controller().imageReference(), shortName);
    }

    void dockerKeepsTheShortName() {
        ControllerFixture world;
        world.controller().start();
        QVERIFY(world.operationEnds());
        QCOMPARE(namedImages(world), QStringList(shortName));
        QVERIFY(textOf(world.controller().composeURL()).contains(u"image: "_s + shortName));
    }

    void thePollAsksNothingMore() {
        PodmanWorld world;
        world.controller().begin();
        world.advance(30s);
        QStringList commands = world.takeCommands();
        QCOMPARE(commands.removeAll(u"inspect"_s), 11);
        QCOMPARE(commands, QStringList(u"compose version"_s));
        QVERIFY(world.controller().state().dockerKind == DockerKind::podman);
        world.controller().shutdownPolling();
    }

    /// Podman-compose would succeed and change nothing.
    void aChangedPortTakesEffect() {
        PodmanWorld world;
        world.docker().compose = true;
        QVERIFY2(world.starts(), qPrintable(world.describe()));
        world.controller().setPort(4010);
        world.controller().restart();
        QVERIFY(world.operationEnds());
        QVERIFY2(!world.controller().state().error, qPrintable(world.describe()));
        QCOMPARE(world.docker().container->port, 4010);
        QVERIFY(!world.controller().state().composeAvailable.value_or(true));
    }

    void aFailedDownloadIsTold() {
        PodmanWorld world;
        world.docker().compose = true;
        world.docker().registry = standin::Registry::unreachable;
        QVERIFY(!world.starts());
        QCOMPARE(world.controller().state().error->message,
                 u"Docker could not reach the internet to download the image. Check your connection."_s);
        QVERIFY(!world.docker().container);
    }

    void anUpdateAndTheWayBack() {
        PodmanWorld world;
        QVERIFY2(world.starts(), qPrintable(world.describe()));
        world.controller().checkForUpdates();
        QVERIFY(world.everythingEnds());
        confirmUpdate(world);
        QVERIFY(world.operationEnds());
        QVERIFY2(!world.controller().state().error, qPrintable(world.describe()));
        QCOMPARE(world.docker().container->image, std::string("docker.io/louislam/uptime-kuma:2.1.0"));
        QVERIFY(textOf(world.controller().composeURL()).contains(u"image: docker.io/louislam/uptime-kuma:2.1.0"_s));
        QCOMPARE(world.controller().imageReference(), u"louislam/uptime-kuma:2.1.0"_s);

        world.docker().images.erase(fullName.toStdString());
        world.controller().goBack();
        world.settle();
        confirm(world);
        QVERIFY(world.operationEnds());
        QVERIFY2(!world.controller().state().error, qPrintable(world.describe()));
        QCOMPARE(world.docker().container->image, fullName.toStdString());
        QCOMPARE(world.controller().imageReference(), shortName);
        for (const QString& name : namedImages(world)) {
            QVERIFY2(name.startsWith(u"docker.io/"_s), qPrintable(name));
        }
    }

    void anImageThatNeverCame() {
        PodmanWorld world;
        QVERIFY2(world.starts(), qPrintable(world.describe()));
        world.controller().checkForUpdates();
        QVERIFY(world.everythingEnds());
        world.docker().pullable = {{"louislam/uptime-kuma:2", ""}};
        confirmUpdate(world);
        QVERIFY(world.operationEnds());
        QCOMPARE(world.controller().state().error->message, u"Docker reported an error."_s);
        QCOMPARE(world.controller().state().imageTag, u"2"_s);
        QVERIFY(textOf(world.controller().composeURL()).contains(u"image: "_s + fullName + u'\n'));
        QCOMPARE(world.docker().container->image, fullName.toStdString());
        QCOMPARE(namedImages(world), QStringList({fullName, u"docker.io/louislam/uptime-kuma:2.1.0"_s}));
    }

    void aTakenPortLeavesAContainerThatTheNextStartReplaces() {
        PodmanWorld world;
        world.docker().portHolder = standin::PortHolder::process;
        QVERIFY(!world.starts());
        QCOMPARE(world.docker().container->state, std::string("created"));
        QCOMPARE(world.controller().state().error->message, u"The port is already in use by another program."_s);
        QVERIFY(!world.controller().state().error->details.contains(notice));
        QVERIFY(world.controller().state().suggestedPort);
        QVERIFY(world.controller().state().kuma == KumaState::stopped);
        const std::string left = world.docker().container->id;
        world.docker().portHolder = standin::PortHolder::nobody;
        QVERIFY2(world.starts(), qPrintable(world.describe()));
        QVERIFY2(!world.controller().state().error, qPrintable(world.describe()));
        QVERIFY(world.docker().container->id != left);
    }

    void theNoticeIsPartOfNoAnswer() {
        PodmanWorld world;
        QVERIFY2(world.starts(), qPrintable(world.describe()));
        world.docker().log = "a line\n";
        QCOMPARE(await(world.controller().fetchLogs()), u"a line\n"_s);
        world.controller().stop();
        QVERIFY(world.operationEnds());
        QVERIFY2(!world.controller().state().error, qPrintable(world.describe()));
        QVERIFY(world.controller().state().kuma == KumaState::stopped);
        world.controller().removeEverything();
        world.dialogs.answerAll(true);
        QVERIFY(world.everythingEnds());
        QVERIFY2(!world.controller().state().error, qPrintable(world.describe()));
        QVERIFY(!world.docker().container);
        QVERIFY(await(world.controller().fetchLogs()).contains(u"no such container"_s));
        QVERIFY(world.controller().state().dockerState == DockerState::ready);
    }

    void aPausedContainerGoesOn() {
        PodmanWorld world;
        QVERIFY2(world.starts(), qPrintable(world.describe()));
        world.docker().container->state = "paused";
        QVERIFY2(world.starts(), qPrintable(world.describe()));
        QCOMPARE(world.docker().container->state, std::string("running"));
    }

    /// The user has installed podman's docker script in place of the docker tool.
    void podmanTakesDockersPlaceMeanwhile() {
        ControllerFixture world;
        world.controller().start();
        QVERIFY(world.operationEnds());
        QVERIFY(world.controller().state().composeAvailable.value_or(false));
        world.controller().stop();
        QVERIFY(world.operationEnds());
        world.removeContainer();
        world.docker().images.clear();
        standin::makePodman(world.docker());
        world.controller().start();
        QVERIFY(world.operationEnds());
        QVERIFY(!world.controller().state().error);
        QCOMPARE(world.docker().container->image, fullName.toStdString());
    }

    void aContainerFromATimeWithoutComposeIsReplaced_data() {
        QTest::addColumn<bool>("isOurs");
        QTest::newRow("ours") << true;
        QTest::newRow("with other data") << false;
    }
    void aContainerFromATimeWithoutComposeIsReplaced() {
        QFETCH(const bool, isOurs);
        ControllerFixture world;
        standin::addContainer(world.docker(), "exited");
        world.docker().container->owner = standin::Owner::plain;
        world.docker().container->data = isOurs ? world.controller().dataDir().toStdString() : "/elsewhere";
        const std::string before = world.docker().container->id;
        world.answer("compose up", 1, nameIsTaken, 1);
        world.controller().start();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.docker().container->id != before, isOurs);
        QCOMPARE(world.controller().state().error.has_value(), !isOurs);
        QCOMPARE(world.docker().container->state, std::string(isOurs ? "running" : "exited"));
    }
};

ORVANEL_TEST(TestPodman)
#include "TestPodman.moc"
