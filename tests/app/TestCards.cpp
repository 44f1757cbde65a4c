#include "ShownWindow.h"
#include "app/views/BusyCard.h"
#include "app/views/DashboardView.h"
#include "app/views/DockerMissingCard.h"
#include "app/views/DockerNotRunningCard.h"
#include "app/views/SetupCard.h"
#include "app/views/StartCard.h"
#include "app/widgets/TextBox.h"

#include <QMenu>
#include <QPushButton>
#include <QTest>

#include <map>

using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto brew = QStringLiteral("brew");
const auto colima = QStringLiteral("colima");
const auto installBoth = QStringLiteral("Install Colima and Docker");
const auto startColima = QStringLiteral("Start Colima");
const auto installColima = QStringLiteral("Install Colima");
const auto getHomebrew = QStringLiteral("Get Homebrew");
const auto checkAgain = QStringLiteral("Check again");
const auto settings = QStringLiteral("Settings");
const auto showDetails = QStringLiteral("Show details");
const auto openDashboard = QStringLiteral("Open dashboard");
const auto needsHomebrew = QStringLiteral("Homebrew is needed for the one-click install and was not found.");

void install(Shown& view, const QString& tool) {
    view.world.installedTools.insert(tool, QStringLiteral("/opt/bin/") + tool);
}

void openWithoutRuntime(Shown& view, standin::Daemon daemon) {
    view.world.docker().daemon = daemon;
    view.open();
    view.poll();
}

/// A window without a slug, whose page answers.
void openGuideCard(Shown& view) {
    QVERIFY(view.world.isPolledAsRunning());
    view.open();
}

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

class TestCards : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void setupShowsItsOutputAndCanBeCancelled() {
        Shown view;
        view.world.installedDocker = std::nullopt;
        install(view, brew);
        view.open();
        view.poll();
        view.world.hang("brew install");
        QTest::keyClick(&view.window, Qt::Key_Return);
        view.world.settle();
        QVERIFY(visible<SetupCard>(&view.window) != nullptr);
        QVERIFY(shows(&view.window, QStringLiteral("Installing Colima and Docker with Homebrew")));
        auto* box = visible<TextBox>(&view.window);
        QCOMPARE(box->placeholderText(), QStringLiteral("Waiting for output…"));
        QCOMPARE(box->toPlainText(), QStringLiteral("$ brew install colima docker"));
        view.click(QStringLiteral("Cancel"));
        QVERIFY(visible<DockerMissingCard>(&view.window) != nullptr);
        QVERIFY(shows(&view.window, QStringLiteral("Cancelled.")));
    }

    void missingDockerWithHomebrew() {
        Shown view;
        view.world.installedDocker = std::nullopt;
        install(view, brew);
        view.open();
        view.poll();
        QVERIFY(shows(&view.window, QStringLiteral("Orvanel runs Uptime Kuma inside Docker, using Colima, a free "
                                                   "headless runtime with no desktop app. One click installs Colima "
                                                   "and the Docker command line tool with Homebrew (brew install "
                                                   "colima docker) and starts them.")));
        QVERIFY(button(&view.window, installBoth) != nullptr);
        QVERIFY(button(&view.window, getHomebrew) == nullptr);
        QVERIFY(!shows(&view.window, needsHomebrew));
        view.click(settings);
        QCOMPARE(view.opened, QStringList(QStringLiteral("settings")));
    }

    void missingDockerWithoutHomebrew() {
        Shown view;
        view.world.installedDocker = std::nullopt;
        view.open();
        view.poll();
        QVERIFY(shows(&view.window, needsHomebrew));
        QVERIFY(button(&view.window, installBoth) == nullptr);
        QTest::keyClick(&view.window, Qt::Key_Return);
        QVERIFY(!view.world.controller().setupBusy());
        view.click(getHomebrew);
        QCOMPARE(view.world.desktop.opened, QList<QUrl>{QUrl(QStringLiteral("https://brew.sh/"))});

        install(view, brew);
        view.click(checkAgain);
        QVERIFY(!shows(&view.window, needsHomebrew));
        QVERIFY(button(&view.window, getHomebrew) == nullptr);
        view.world.hang("brew install");
        view.click(installBoth);
        QVERIFY(visible<SetupCard>(&view.window) != nullptr);
        QVERIFY(view.world.underWay().contains(QStringLiteral("brew install")));
    }

    void dockerFoundElsewhereCanBeUsed() {
        Shown view;
        view.world.installedDocker = std::nullopt;
        const QString tool = view.world.home.write(QStringLiteral("tools/usr/bin/docker"), "#!/bin/sh\n", true);
        view.world.executables = {tool};
        view.open();
        view.poll();
        QVERIFY(shows(&view.window, QStringLiteral("A docker tool was found at %1.").arg(tool)));
        view.click(QStringLiteral("Use it"));
        QCOMPARE(view.world.controller().dockerOverride(), tool);
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
    }

    void oneThatIsInstalledElsewhereLaterIsNoticed() {
        Shown view;
        view.world.installedDocker = std::nullopt;
        view.open();
        view.poll();
        QVERIFY(button(&view.window, QStringLiteral("Use it")) == nullptr);
        const QString tool = view.world.home.write(QStringLiteral("tools/usr/bin/docker"), "#!/bin/sh\n", true);
        view.world.executables = {tool};
        view.world.advance(3s);
        QVERIFY(shows(&view.window, QStringLiteral("A docker tool was found at %1.").arg(tool)));
        view.click(QStringLiteral("Use it"));
        QCOMPARE(view.world.controller().dockerOverride(), tool);
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
    }

    void withoutOneElsewhereNothingIsOffered() {
        Shown view;
        view.world.installedDocker = std::nullopt;
        view.open();
        view.poll();
        QVERIFY(button(&view.window, QStringLiteral("Use it")) == nullptr);
    }

    void colimaThatIsNotStarted() {
        Shown view;
        install(view, brew);
        install(view, colima);
        openWithoutRuntime(view, standin::Daemon::down);
        QVERIFY(shows(&view.window, QStringLiteral("The docker command line tool is installed, but the Colima runtime "
                                                   "is not started.")));
        QVERIFY(button(&view.window, installColima) == nullptr);
        QVERIFY(button(&view.window, getHomebrew) == nullptr);
        QVERIFY(button(&view.window, startColima) != nullptr);
        view.world.hang("colima start");
        QTest::keyClick(&view.window, Qt::Key_Return);
        view.world.settle();
        QVERIFY(view.world.underWay().contains(QStringLiteral("colima start")));
    }

    void noRuntimeWithHomebrew() {
        Shown view;
        install(view, brew);
        openWithoutRuntime(view, standin::Daemon::down);
        QVERIFY(shows(&view.window, QStringLiteral("The docker command line tool is installed, but no Docker runtime "
                                                   "answers. One click installs and starts Colima, a free headless "
                                                   "runtime. If you run another runtime, start it and press Check "
                                                   "again.")));
        QVERIFY(button(&view.window, startColima) == nullptr);
        view.world.hang("brew install");
        QTest::keyClick(&view.window, Qt::Key_Return);
        view.world.settle();
        QVERIFY(view.world.underWay().contains(QStringLiteral("brew install")));
    }

    void noRuntimeAndNoHomebrew() {
        Shown view;
        openWithoutRuntime(view, standin::Daemon::down);
        QVERIFY(button(&view.window, startColima) == nullptr);
        QVERIFY(button(&view.window, installColima) == nullptr);
        view.click(getHomebrew);
        QCOMPARE(view.world.desktop.opened.size(), 1);
        view.click(settings);
        QCOMPARE(view.opened, QStringList(QStringLiteral("settings")));

        install(view, brew);
        view.click(checkAgain);
        QVERIFY(button(&view.window, getHomebrew) == nullptr);
        view.world.hang("brew install");
        view.click(installColima);
        QVERIFY(view.world.underWay().contains(QStringLiteral("brew install")));
    }

    void aRuntimeThatRefusesSaysWhy_data() {
        QTest::addColumn<bool>("refuses");
        QTest::newRow("refuses") << true;
        QTest::newRow("is down") << false;
    }
    void aRuntimeThatRefusesSaysWhy() {
        QFETCH(const bool, refuses);
        Shown view;
        openWithoutRuntime(view, refuses ? standin::Daemon::denied : standin::Daemon::down);
        const bool isSaid = shows(&view.window, QStringLiteral("Docker refused: you are not in the group “docker” yet. "
                                                               "Join it, then log out and in again."));
        QCOMPARE(isSaid, refuses);
        QCOMPARE(button(&view.window, showDetails)->accessibleDescription(), QStringLiteral("Collapsed"));
        view.click(showDetails);
        QCOMPARE(button(&view.window, showDetails)->accessibleDescription(), QStringLiteral("Expanded"));
        const QString details = view.world.controller().runtimeDetails().trimmed();
        QVERIFY(!details.isEmpty());
        QCOMPARE(visible<TextBox>(&view.window)->toPlainText().trimmed(), details);
        // The next looks bring the same words, and leave the section open.
        view.world.advance(6s);
        QVERIFY(visible<TextBox>(&view.window) != nullptr);
    }

    void theDashboardOpensTheOtherWindows() {
        Shown view;
        openGuideCard(view);
        view.click(QStringLiteral("Logs"));
        view.click(settings);
        QCOMPARE(view.opened, (QStringList{QStringLiteral("logs"), settings.toLower()}));
    }

    void theStartCardOpensTheSettings() {
        Shown view;
        view.open();
        view.click(settings);
        QCOMPARE(view.opened, QStringList(QStringLiteral("settings")));
    }

    void theBackupMenuBacksUpAndRestores() {
        Shown view;
        openGuideCard(view);
        const QMenu* const menu = button(&view.window, QStringLiteral("Backup"))->findChild<QMenu*>();
        const QList<QAction*> entries = menu->actions();
        QCOMPARE(entries.size(), 2);
        QCOMPARE(entries[0]->text(), QStringLiteral("Back up now…"));
        QCOMPARE(entries[1]->text(), QStringLiteral("Restore…"));
        entries[0]->trigger();
        view.world.settle();
        QCOMPARE(view.world.dialogs.pathQuestions.size(), 1);
        view.world.dialogs.answerAll(false);
        view.world.settle();
        entries[1]->trigger();
        view.world.settle();
        QVERIFY(view.world.dialogs.pathQuestions.size() + view.world.dialogs.questions.size() > 1);
    }

    void pressingStartDoesNotLeadTheKeysToCancel() {
        Shown view;
        view.world.delay("info", 5s);
        view.open();
        view.poll();
        view.world.advance(5s);
        QAbstractButton* const start = button(&view.window, QStringLiteral("Start Uptime Kuma"));
        start->setFocus();
        QTest::keyClick(start, Qt::Key_Space);
        view.world.settle();
        QVERIFY(visible<BusyCard>(&view.window) != nullptr);
        QVERIFY(qobject_cast<QAbstractButton*>(view.window.focusWidget()) == nullptr);
    }

    /// As they stand from left to right, and from row to row.
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
        row("Colima not started", "down", {brew, colima}, {startColima, checkAgain, settings, showDetails});
        row("no Colima", "down", {brew}, {installColima, checkAgain, settings, showDetails});
        row("neither", "down", {}, {getHomebrew, checkAgain, settings, showDetails});
        row("stopped", "up", {}, {QStringLiteral("Start Uptime Kuma"), settings});
        row("running", "running", {},
            {openDashboard, QStringLiteral("Stop"), QStringLiteral("Restart"), QStringLiteral("Logs"),
             QStringLiteral("Backup"), settings, openDashboard});
    }
    void buttonsStandInTheirOrder() {
        QFETCH(const QString, docker);
        QFETCH(const QStringList, tools);
        QFETCH(const QStringList, expected);
        Shown view;
        for (const QString& tool : tools) {
            install(view, tool);
        }
        if (docker == QStringLiteral("missing")) {
            view.world.installedDocker = std::nullopt;
        }
        view.world.docker().daemon = docker == QStringLiteral("down") ? standin::Daemon::down : standin::Daemon::up;
        view.open();
        if (docker == QStringLiteral("running")) {
            QVERIFY(view.world.isPolledAsRunning());
        } else {
            view.poll();
        }
        QCOMPARE(buttonsInOrder(view.window), expected);
    }
};

QTEST_MAIN(TestCards)
#include "TestCards.moc"
