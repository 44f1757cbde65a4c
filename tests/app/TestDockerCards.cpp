#include "ShownWindow.h"
#include "app/views/DockerCards.h"
#include "app/views/StateCards.h"
#include "app/widgets/TextBox.h"
#include "support/TestClass.h"

#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto brew = u"brew"_s;
const auto colima = u"colima"_s;
const auto installDocker = u"Install Docker"_s;
const auto installBoth = u"Install Colima and Docker"_s;
const auto installColima = u"Install Colima"_s;
const auto startColima = u"Start Colima"_s;
const auto getHomebrew = u"Get Homebrew"_s;
const auto letMeUse = u"Let me use Docker"_s;
const auto showDetails = u"Show details"_s;
const auto needsHomebrew = u"Homebrew is needed for the one-click install and was not found."_s;
const auto ignoresTheVariable = u"Your session sets DOCKER_HOST, but Orvanel follows Docker's contexts and not this "
                                "variable. Run this command in a terminal, then press Check again:"_s;

} // namespace

/// The cards that install Docker, start it and let its user in with one click.
class TestDockerCards : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void missingDockerWithAPackageManager_data() {
        QTest::addColumn<bool>("hasHomebrew");
        QTest::newRow("alone") << false;
        QTest::newRow("beside Homebrew") << true;
    }
    void missingDockerWithAPackageManager() {
        QFETCH(const bool, hasHomebrew);
        ShownWindow view;
        view.world.installedDocker = std::nullopt;
        view.world.rootHelper = aptHelper();
        if (hasHomebrew) {
            view.install(brew);
        }
        view.open();
        view.poll();
        QVERIFY(shows(&view.window, u"One click installs Docker with this computer's own package manager (apt-get "
                                    "install docker.io), starts it and lets you use it. You will be asked for your "
                                    "password."_s));
        QVERIFY(!shows(&view.window, needsHomebrew));
        QVERIFY(button(&view.window, getHomebrew) == nullptr);
        QCOMPARE(button(&view.window, installBoth) != nullptr, hasHomebrew);
        view.world.hang("pkexec install");
        QTest::keyClick(&view.window, Qt::Key_Return);
        view.world.settle();
        QVERIFY(visible<SetupCard>(&view.window) != nullptr);
        QVERIFY(shows(&view.window, u"Waiting for your password"_s));
        view.click(u"Cancel"_s);
        QVERIFY(shows(&view.window, u"Cancelled."_s));
        QVERIFY(visible<DockerMissingCard>(&view.window) != nullptr);
    }

    void aPackageManagerWithoutPolkitIsNoWay() {
        ShownWindow view;
        view.world.installedDocker = std::nullopt;
        view.open();
        view.poll();
        QVERIFY(button(&view.window, installDocker) == nullptr);
        QVERIFY(shows(&view.window, needsHomebrew));
    }

    void aServiceThatIsStopped() {
        ShownWindow view;
        view.install(brew);
        view.world.units.states = {{u"docker.service"_s, UnitState{u"loaded"_s, u"inactive"_s}}};
        view.world.units.onStart = [&view] { view.world.docker().daemon = standin::Daemon::up; };
        view.openWithoutRuntime(standin::Daemon::down);
        QVERIFY(shows(&view.window, u"Docker is installed, but its service is not running."_s));
        QVERIFY(button(&view.window, installColima) == nullptr);
        QTest::keyClick(&view.window, Qt::Key_Return);
        view.world.settle();
        QCOMPARE(view.world.units.started, QStringList(u"docker.service"_s));
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
    }

    void oneWhoIsNotInTheGroupIsLetIn() {
        ShownWindow view;
        view.world.rootHelper = aptHelper();
        view.install(colima);
        view.openWithoutRuntime(standin::Daemon::denied);
        QVERIFY(shows(&view.window, u"You need permission to use Docker. One click adds you to the group “docker” and "
                                    "opens Docker for you at once; members of this group have the rights of root."_s));
        QVERIFY(!shows(&view.window, u"The docker command line tool is installed, but the Colima runtime is not "
                                     "started."_s));
        QVERIFY(button(&view.window, startColima) == nullptr);
        QVERIFY(button(&view.window, showDetails) != nullptr);
        QTest::keyClick(&view.window, Qt::Key_Return);
        view.world.settle();
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
        // After a restart of Docker that made the socket anew, the same way leads in again.
        view.world.docker().daemon = standin::Daemon::denied;
        view.world.advance(3s);
        view.click(letMeUse);
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
    }

    /// The helper opens the system's engine only.
    void anotherEngineThatRefuses() {
        ShownWindow view;
        view.world.rootHelper = aptHelper();
        view.world.answer("inspect", 1,
                          u"permission denied while trying to connect to the Docker daemon socket at "
                          "unix:///home/anna/.engine/docker.sock"_s);
        view.open();
        view.poll();
        QVERIFY(button(&view.window, letMeUse) == nullptr);
        QVERIFY(shows(&view.window, u"You need permission to use Docker. Join the group “docker”, then log out and "
                                    "back in."_s));
    }

    void anEngineThatOnlyTheSessionsVariableNames_data() {
        QTest::addColumn<standin::Daemon>("daemon");
        QTest::newRow("the default one refuses") << standin::Daemon::denied;
        QTest::newRow("the default one is down") << standin::Daemon::down;
    }
    void anEngineThatOnlyTheSessionsVariableNames() {
        QFETCH(const standin::Daemon, daemon);
        ShownWindow view;
        view.world.dockerHost = u"tcp://<b>engine</b>:2375"_s;
        view.world.rootHelper = aptHelper();
        view.world.units.states = {{u"docker.service"_s, UnitState{u"loaded"_s, u"inactive"_s}}};
        view.install(brew);
        view.install(colima);
        view.openWithoutRuntime(daemon);
        QVERIFY(shows(&view.window, ignoresTheVariable));
        const auto* const command = visible<CommandBox>(&view.window);
        QVERIFY(command != nullptr);
        QCOMPARE(command->toPlainText(), u"docker context create orvanel --docker 'host=tcp://<b>engine</b>:2375' && "
                                         "docker context use orvanel"_s);
        QVERIFY(command->textInteractionFlags().testFlag(Qt::TextSelectableByMouse));
        QVERIFY(command->textInteractionFlags().testFlag(Qt::TextSelectableByKeyboard));
        for (const QString& other : {letMeUse, u"Start Docker"_s, startColima, installColima, getHomebrew}) {
            QVERIFY2(button(&view.window, other) == nullptr, qPrintable(other));
        }
        QVERIFY(!shows(&view.window, u"Docker is installed, but its service is not running."_s));
        QVERIFY(button(&view.window, showDetails) != nullptr);
        view.world.docker().daemon = standin::Daemon::up;
        view.click(u"Check again"_s);
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
    }

    void aContextInUseHasTheUsualCard() {
        ShownWindow view;
        view.world.dockerHost = u"tcp://10.0.0.5:2375"_s;
        view.install(colima);
        view.world.answer(
            "inspect", 1,
            u"Cannot connect to the Docker daemon at tcp://10.0.0.5:2375. Is the docker daemon running?\n"_s);
        view.open();
        view.poll();
        QVERIFY(!shows(&view.window, ignoresTheVariable));
        QVERIFY(visible<CommandBox>(&view.window) == nullptr);
        QVERIFY(button(&view.window, startColima) != nullptr);
    }
};

ORVANEL_TEST(TestDockerCards)
#include "TestDockerCards.moc"
