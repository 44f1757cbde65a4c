#include "ShownWindow.h"
#include "app/views/DockerCards.h"
#include "app/views/StateCards.h"
#include "app/widgets/TextBox.h"
#include "support/TestClass.h"

#include <QPushButton>
#include <QTest>

#include <map>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto brew = u"brew"_s;
const auto colima = u"colima"_s;
/// For the rows of a table: neither is found like a tool.
const auto apt = u"apt-get"_s;
const auto service = u"docker.service"_s;
const auto installBoth = u"Install Colima and Docker"_s;
const auto startColima = u"Start Colima"_s;
const auto installColima = u"Install Colima"_s;
const auto getHomebrew = u"Get Homebrew"_s;
const auto installDocker = u"Install Docker"_s;
const auto startDocker = u"Start Docker"_s;
const auto letMeUse = u"Let me use Docker"_s;
const auto checkAgain = u"Check again"_s;
const auto settings = u"Settings"_s;
const auto showDetails = u"Show details"_s;
const auto openDashboard = u"Open dashboard"_s;
const auto needsHomebrew = u"Homebrew is needed for the one-click install and was not found."_s;

QStringList buttonsInOrder(const QWidget& window) {
    std::map<std::pair<int, int>, QString> places;
    for (const QAbstractButton* button : window.findChildren<QAbstractButton*>()) {
        if (button->isVisible()) {
            const QPoint place = button->mapTo(&window, QPoint(0, 0));
            places.emplace(std::pair(place.y(), place.x()), button->text());
        }
    }
    QStringList texts;
    for (const auto& [place, text] : places) {
        texts << text;
    }
    return texts;
}

} // namespace

/// The cards that are shown while Docker is missing or does not run, and the order of the buttons on all cards.
class TestCards : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void setupShowsItsOutputAndCanBeCancelled() {
        ShownWindow view;
        view.world.installedDocker = std::nullopt;
        view.install(brew);
        view.open();
        view.poll();
        view.world.hang("brew install");
        QTest::keyClick(&view.window, Qt::Key_Return);
        view.world.settle();
        QVERIFY(visible<SetupCard>(&view.window) != nullptr);
        QVERIFY(shows(&view.window, u"Installing Colima and Docker with Homebrew"_s));
        auto* box = visible<TextBox>(&view.window);
        QCOMPARE(box->placeholderText(), u"Waiting for output…"_s);
        QCOMPARE(box->toPlainText(), u"$ brew install colima docker"_s);
        view.click(u"Cancel"_s);
        QVERIFY(visible<DockerMissingCard>(&view.window) != nullptr);
        QVERIFY(shows(&view.window, u"Cancelled."_s));
    }

    void missingDockerWithHomebrew() {
        ShownWindow view;
        view.world.installedDocker = std::nullopt;
        view.install(brew);
        view.open();
        view.poll();
        QVERIFY(shows(&view.window, u"Orvanel runs Uptime Kuma inside Docker, using Colima, a free "
                                    "headless runtime with no desktop app. One click installs Colima "
                                    "and the Docker command line tool with Homebrew (brew install "
                                    "colima docker) and starts them."_s));
        QVERIFY(button(&view.window, installBoth) != nullptr);
        QVERIFY(button(&view.window, getHomebrew) == nullptr);
        QVERIFY(!shows(&view.window, needsHomebrew));
        view.click(settings);
        QCOMPARE(view.opened, QStringList(u"settings"_s));
    }

    void missingDockerWithoutHomebrew() {
        ShownWindow view;
        view.world.installedDocker = std::nullopt;
        view.open();
        view.poll();
        QVERIFY(shows(&view.window, needsHomebrew));
        QVERIFY(button(&view.window, installBoth) == nullptr);
        QTest::keyClick(&view.window, Qt::Key_Return);
        QVERIFY(!view.world.controller().state().setupBusy);
        view.click(getHomebrew);
        QCOMPARE(view.world.desktop.opened, QList<QUrl>{QUrl(u"https://brew.sh/"_s)});

        view.install(brew);
        view.click(checkAgain);
        QVERIFY(!shows(&view.window, needsHomebrew));
        QVERIFY(button(&view.window, getHomebrew) == nullptr);
        view.world.hang("brew install");
        view.click(installBoth);
        QVERIFY(visible<SetupCard>(&view.window) != nullptr);
        QVERIFY(view.world.underWay().contains(u"brew install"_s));
    }

    void dockerWhereLinuxPutsItIsUsedWithoutAQuestion() {
        ShownWindow view;
        view.world.installedDocker = std::nullopt;
        view.open();
        view.poll();
        QVERIFY(visible<DockerMissingCard>(&view.window) != nullptr);
        view.world.toolsElsewhere.insert(u"docker"_s, u"/usr/bin/docker"_s);
        view.world.advance(3s);
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
        QCOMPARE(view.world.controller().state().dockerPath, u"/usr/bin/docker"_s);
        QCOMPARE(view.world.controller().state().dockerOverride, QString());
    }

    void colimaThatIsNotStarted() {
        ShownWindow view;
        view.install(brew);
        view.install(colima);
        view.openWithoutRuntime(standin::Daemon::down);
        QVERIFY(shows(&view.window, u"The docker command line tool is installed, but the Colima runtime "
                                    "is not started."_s));
        QVERIFY(button(&view.window, installColima) == nullptr);
        QVERIFY(button(&view.window, getHomebrew) == nullptr);
        QVERIFY(button(&view.window, startColima) != nullptr);
        view.world.hang("colima start");
        QTest::keyClick(&view.window, Qt::Key_Return);
        view.world.settle();
        QVERIFY(view.world.underWay().contains(u"colima start"_s));
    }

    void noRuntimeWithHomebrew() {
        ShownWindow view;
        view.install(brew);
        view.openWithoutRuntime(standin::Daemon::down);
        QVERIFY(shows(&view.window, u"The docker command line tool is installed, but no Docker runtime "
                                    "answers. One click installs and starts Colima, a free headless "
                                    "runtime. If you run another runtime, start it and press Check "
                                    "again."_s));
        QVERIFY(button(&view.window, startColima) == nullptr);
        view.world.hang("brew install");
        QTest::keyClick(&view.window, Qt::Key_Return);
        view.world.settle();
        QVERIFY(view.world.underWay().contains(u"brew install"_s));
    }

    void noRuntimeAndNoHomebrew() {
        ShownWindow view;
        view.openWithoutRuntime(standin::Daemon::down);
        QVERIFY(button(&view.window, startColima) == nullptr);
        QVERIFY(button(&view.window, installColima) == nullptr);
        view.click(getHomebrew);
        QCOMPARE(view.world.desktop.opened.size(), 1);
        view.click(settings);
        QCOMPARE(view.opened, QStringList(u"settings"_s));

        view.install(brew);
        view.click(checkAgain);
        QVERIFY(button(&view.window, getHomebrew) == nullptr);
        view.world.hang("brew install");
        view.click(installColima);
        QVERIFY(view.world.underWay().contains(u"brew install"_s));
    }

    void aRuntimeThatRefusesSaysWhy_data() {
        QTest::addColumn<bool>("refuses");
        QTest::newRow("refuses") << true;
        QTest::newRow("is down") << false;
    }
    void aRuntimeThatRefusesSaysWhy() {
        QFETCH(const bool, refuses);
        ShownWindow view;
        view.openWithoutRuntime(refuses ? standin::Daemon::denied : standin::Daemon::down);
        const bool isSaid = shows(&view.window, u"You need permission to use Docker. Join the group “docker”, then "
                                                "log out and back in."_s);
        QCOMPARE(isSaid, refuses);
        QCOMPARE(button(&view.window, showDetails)->accessibleDescription(), u"Collapsed"_s);
        view.click(showDetails);
        QCOMPARE(button(&view.window, showDetails)->accessibleDescription(), u"Expanded"_s);
        const QString details = view.world.controller().state().runtimeDetails.trimmed();
        QVERIFY(!details.isEmpty());
        QCOMPARE(visible<TextBox>(&view.window)->toPlainText().trimmed(), details);
        // The next polls bring the same text and leave the section open.
        view.world.advance(6s);
        QVERIFY(visible<TextBox>(&view.window) != nullptr);
    }

    void checkAgainKeepsTheFocus_data() {
        QTest::addColumn<bool>("isInstalled");
        QTest::newRow("not installed") << false;
        QTest::newRow("not running") << true;
    }
    void checkAgainKeepsTheFocus() {
        QFETCH(const bool, isInstalled);
        ShownWindow view;
        view.openWithoutRuntime(standin::Daemon::down);
        if (!isInstalled) {
            view.world.installedDocker = std::nullopt;
            view.world.controller().recheck();
            view.world.settle();
        }
        button(&view.window, checkAgain)->setFocus();
        QTest::keyClick(button(&view.window, checkAgain), Qt::Key_Space);
        view.world.settle();
        QVERIFY(button(&view.window, checkAgain) != nullptr);
        QVERIFY(button(&view.window, checkAgain)->hasFocus());
    }

    void checkAgainTakesNoFocusFromTheUser() {
        ShownWindow view;
        view.world.installedDocker = std::nullopt;
        view.world.loginItem.failure = u"why"_s;
        view.open();
        view.poll();
        view.world.controller().setLaunchAtLogin(true);
        view.world.settle();
        QAbstractButton* const details = button(&view.window, showDetails);
        QVERIFY(details != nullptr);
        button(&view.window, checkAgain)->setFocus();
        // The user moves the focus to the error just when another card is shown.
        connect(&view.world.controller(), &KumaController::changed, &view.window, [&view, details] {
            if (visible<StartCard>(&view.window) != nullptr) {
                details->setFocus();
            }
        });
        QTest::keyClick(button(&view.window, checkAgain), Qt::Key_Space);
        view.world.settle();
        QVERIFY(button(&view.window, checkAgain) != nullptr);
        QVERIFY(details->hasFocus());
    }

    /// The buttons in reading order: from left to right, then from row to row.
    void buttonsStandInTheirOrder_data() {
        QTest::addColumn<QString>("docker");
        QTest::addColumn<QStringList>("tools");
        QTest::addColumn<QStringList>("expected");
        const auto row = [](const char* name, const char* docker, const QStringList& tools,
                            const QStringList& expected) {
            QTest::newRow(name) << QString::fromLatin1(docker) << tools << expected;
        };
        row("missing", "missing", {brew}, {installBoth, checkAgain, settings});
        row("missing, no Homebrew", "missing", {}, {getHomebrew, checkAgain, settings});
        row("missing, package manager", "missing", {apt}, {installDocker, checkAgain, settings});
        row("missing, both", "missing", {apt, brew}, {installDocker, installBoth, checkAgain, settings});
        row("service stopped", "down", {service, apt}, {startDocker, checkAgain, settings, showDetails});
        row("service and Colima", "down", {service, colima},
            {startDocker, startColima, checkAgain, settings, showDetails});
        row("refused", "denied", {apt, brew, colima}, {letMeUse, checkAgain, settings, showDetails});
        row("Colima not started", "down", {brew, colima}, {startColima, checkAgain, settings, showDetails});
        row("no Colima", "down", {brew}, {installColima, checkAgain, settings, showDetails});
        row("neither", "down", {}, {getHomebrew, checkAgain, settings, showDetails});
        row("stopped", "up", {}, {u"Start Uptime Kuma"_s, settings, u"Backup"_s});
        row("running", "running", {},
            {openDashboard, u"Stop"_s, u"Restart"_s, u"Logs"_s, u"Backup"_s, settings, openDashboard});
    }
    void buttonsStandInTheirOrder() {
        QFETCH(const QString, docker);
        QFETCH(const QStringList, tools);
        QFETCH(const QStringList, expected);
        ShownWindow view;
        for (const QString& tool : tools) {
            view.install(tool);
        }
        if (tools.contains(apt)) {
            view.world.rootHelper = aptHelper();
        }
        if (tools.contains(service)) {
            view.world.units.states = {{service, UnitState{u"loaded"_s, u"inactive"_s}}};
        }
        if (docker == u"missing"_s) {
            view.world.installedDocker = std::nullopt;
        }
        view.world.docker().daemon = docker == u"down"_s     ? standin::Daemon::down
                                     : docker == u"denied"_s ? standin::Daemon::denied
                                                             : standin::Daemon::up;
        view.open();
        if (docker == u"running"_s) {
            QVERIFY(view.world.isPolledAsRunning());
        } else {
            view.poll();
        }
        QCOMPARE(buttonsInOrder(view.window), expected);
    }
};

ORVANEL_TEST(TestCards)
#include "TestCards.moc"
