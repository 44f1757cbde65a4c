#include "Contrast.h"
#include "ControllerFixture.h"
#include "Find.h"
#include "Palettes.h"
#include "app/SettingsWindow.h"
#include "app/views/SettingsView.h"
#include "app/views/settings/PortText.h"
#include "app/views/settings/UpdatesSection.h"
#include "app/widgets/LinkButton.h"
#include "app/widgets/Switch.h"
#include "platform/FreedesktopDesktop.h"
#include "support/Await.h"
#include "support/PrivateBus.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QInputMethodEvent>
#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto updateText = QStringLiteral("Update");
const auto checkText = QStringLiteral("Check for updates");
const auto notesText = QStringLiteral("Release notes");

/// The settings in a world where a test plays Docker.
struct Shown {
    Shown()
        : view({world.controller(), world.desktop, world.clock, {}}, world.dialogs) {}

    ControllerFixture world;
    SettingsView view;

    void open() {
        view.resize(560, 640);
        view.show();
        QVERIFY(QTest::qWaitForWindowActive(&view));
        world.settle();
    }
    KumaController& kuma() { return world.controller(); }
    void click(const QString& text) {
        QAbstractButton* const found = button(&view, text);
        QVERIFY(found != nullptr);
        QTest::mouseClick(found, Qt::LeftButton);
        world.settle();
    }
    QLineEdit* field(const QString& name) const {
        for (QLineEdit* candidate : view.findChildren<QLineEdit*>()) {
            if (candidate->accessibleName() == name) {
                return candidate;
            }
        }
        return nullptr;
    }
    QLineEdit* port() const { return field(QStringLiteral("Port")); }
    QLineEdit* slug() const { return field(QStringLiteral("Status page slug")); }
    QLineEdit* dockerOverride() const { return field(QStringLiteral("Path of the docker command line tool")); }
    /// Replaces what stands in the field by what is typed.
    void type(QLineEdit* field, const QString& text) {
        field->setFocus();
        field->selectAll();
        QTest::keyClick(field, Qt::Key_Delete);
        QTest::keyClicks(field, text);
        world.settle();
    }
    bool showsPortHint() const {
        for (const QLabel* label : view.findChildren<QLabel*>()) {
            if (label->isVisible() && label->text().startsWith(QStringLiteral("This is no port to use"))) {
                return port()->accessibleDescription() == label->text();
            }
        }
        return false;
    }
    Switch* switchWith(const QString& text) const { return visibleWith<Switch>(&view, text); }
};

QAccessibleInterface* accessible(QWidget* widget) {
    return QAccessible::queryAccessibleInterface(widget);
}

} // namespace

class TestSettingsView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everythingIsSaid() {
        Shown settings;
        settings.open();
        for (const char* text : {
                 "Uptime Kuma",
                 "Port",
                 "Press Start or Restart after changing the port. The container is only reachable from this Mac.",
                 "Status page slug",
                 "The slug of a status page you created in the dashboard. Used to show your monitors here.",
                 "General",
                 "Docker command line tool",
                 "Docker was not found.",
                 "Updates",
                 "Pinned image: louislam/uptime-kuma:2",
                 "Newest release: not checked yet",
                 "Update backs up your data first, changes the pinned tag, pulls the new image and restarts. Your data "
                 "folder is never touched.",
                 "Danger zone",
                 "About",
                 "Orvanel controls Uptime Kuma running in Docker on this Mac.",
                 "Uptime Kuma is the work of the Uptime Kuma project, published under the MIT License.",
             }) {
            QVERIFY2(shows(&settings.view, QString::fromUtf8(text)), text);
        }
        for (const char* text : {"Launch at login", "Stop the container when I quit", "Reveal data folder in Finder",
                                 "Choose…", "Check for updates", "Update", "Remove everything…"}) {
            QVERIFY2(button(&settings.view, QString::fromUtf8(text)) != nullptr, text);
        }
    }

    void portIsShownWithoutGrouping() {
        Shown settings;
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
        settings.open();
        QCOMPARE(settings.port()->text(), QStringLiteral("3001"));
        settings.kuma().setPort(65535);
        settings.world.settle();
        QCOMPARE(settings.port()->text(), QStringLiteral("65535"));
        QLocale::setDefault(QLocale::c());
    }

    void portTexts_data() {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<int>("port");
        const auto row = [](const char* typed, int port) { QTest::newRow(typed) << QString::fromUtf8(typed) << port; };
        row("3001", 3001);
        row(" 3001 ", 3001);
        row("1024", 1024);
        row("65535", 65535);
        row("03001", 3001);
        for (const char* typed : {"", " ", "0", "80", "1023", "65536", "99999", "100000", "003001", "-3001", "+3001",
                                  "3,001", "3.001", "3 001", "3001a", "0xbb9", "３００１", "٣٠٠١"}) {
            row(typed, 0);
        }
    }
    void portTexts() {
        QFETCH(const QString, typed);
        QFETCH(const int, port);
        QCOMPARE(portFrom(typed).value_or(0), port);
    }

    void aTypedPortIsStored() {
        Shown settings;
        settings.open();
        settings.type(settings.port(), QStringLiteral("3005"));
        QCOMPARE(settings.kuma().port(), 3005);
        QVERIFY(!settings.showsPortHint());
        QCOMPARE(settings.world.restartProgram().port(), 3005);
    }

    void whatIsNoPortIsRefused_data() {
        QTest::addColumn<QString>("typed");
        QTest::newRow("too large") << QStringLiteral("65536");
        QTest::newRow("too many digits") << QStringLiteral("300100");
        QTest::newRow("letters") << QStringLiteral("30a1");
        QTest::newRow("grouped") << QStringLiteral("3,005");
    }
    void whatIsNoPortIsRefused() {
        QFETCH(const QString, typed);
        Shown settings;
        settings.open();
        settings.type(settings.port(), typed);
        QCOMPARE(settings.kuma().port(), 3001);
        QVERIFY(settings.showsPortHint());
        QVERIFY(shows(&settings.view, QStringLiteral("This is no port to use: type a number from 1024 to 65535. Until "
                                                     "then the port stays 3001.")));
        QCOMPARE(settings.port()->text(), typed);
        settings.type(settings.port(), QStringLiteral("3007"));
        QCOMPARE(settings.kuma().port(), 3007);
        QVERIFY(!settings.showsPortHint());
    }

    void aPortBeginsWithFewDigits() {
        Shown settings;
        settings.open();
        settings.type(settings.port(), QStringLiteral("80"));
        // It may still become 8080.
        QVERIFY(!settings.showsPortHint());
        QCOMPARE(settings.kuma().port(), 3001);
        QTest::keyClick(settings.port(), Qt::Key_Return);
        QVERIFY(settings.showsPortHint());
        QCOMPARE(settings.kuma().port(), 3001);
        QTest::keyClicks(settings.port(), QStringLiteral("80"));
        QCOMPARE(settings.kuma().port(), 8080);
        QVERIFY(!settings.showsPortHint());
    }

    void leavingTheFieldTellsAsWell() {
        Shown settings;
        settings.open();
        settings.type(settings.port(), {});
        QVERIFY(!settings.showsPortHint());
        QTest::keyClick(settings.port(), Qt::Key_Tab);
        QVERIFY(settings.showsPortHint());
        QCOMPARE(settings.kuma().port(), 3001);
    }

    void escapeBringsThePortBack() {
        Shown settings;
        settings.open();
        settings.type(settings.port(), QStringLiteral("70000"));
        QTest::keyClick(settings.port(), Qt::Key_Escape);
        QCOMPARE(settings.port()->text(), QStringLiteral("3001"));
        QCOMPARE(settings.kuma().port(), 3001);
        QVERIFY(!settings.showsPortHint());
        QVERIFY(settings.view.isVisible());
    }

    /// From the icon in the status area, whose menu leaves the keys in the field.
    void thereIsNoWayBackBehindThePortOfAStart() {
        Shown settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.type(settings.port(), QStringLiteral("3005"));
        settings.kuma().restart();
        QVERIFY(settings.world.operationEnds());
        QVERIFY(!settings.kuma().error());
        settings.type(settings.port(), QStringLiteral("x"));
        QCOMPARE(settings.kuma().port(), 3005);
        QTest::keyClick(settings.port(), Qt::Key_Escape);
        QCOMPARE(settings.kuma().port(), 3005);
        QCOMPARE(settings.port()->text(), QStringLiteral("3005"));
    }

    void typingIsNotDisturbed() {
        Shown settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.type(settings.port(), QStringLiteral("30"));
        QTest::keyClick(settings.port(), Qt::Key_Left);
        settings.world.advance(30s);
        QCOMPARE(settings.port()->text(), QStringLiteral("30"));
        QCOMPARE(settings.port()->cursorPosition(), 1);
        QVERIFY(settings.port()->hasFocus());

        settings.type(settings.slug(), QStringLiteral("ho"));
        QTest::keyClick(settings.slug(), Qt::Key_Left);
        settings.world.page.status = statusPage({monitor(1, 0)});
        settings.world.advance(30s);
        QCOMPARE(settings.kuma().monitors().size(), 1);
        QCOMPARE(settings.slug()->text(), QStringLiteral("ho"));
        QCOMPARE(settings.slug()->cursorPosition(), 1);
        QVERIFY(settings.slug()->hasFocus());
    }

    void aHalfTypedDockerPathIsNotDisturbed() {
        Shown settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.type(settings.dockerOverride(), QStringLiteral("/my/do"));
        QTest::keyClick(settings.dockerOverride(), Qt::Key_Left);
        settings.world.advance(30s);
        QCOMPARE(settings.dockerOverride()->text(), QStringLiteral("/my/do"));
        QCOMPARE(settings.dockerOverride()->cursorPosition(), 5);
        QVERIFY(settings.dockerOverride()->hasFocus());
        QTest::keyClicks(settings.dockerOverride(), QStringLiteral("x"));
        QCOMPARE(settings.kuma().dockerOverride(), QStringLiteral("/my/dxo"));
    }

    void textThatIsStillComposedIsNoPort() {
        Shown settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.type(settings.port(), {});
        QInputMethodEvent composing(QStringLiteral("3005"), {});
        QCoreApplication::sendEvent(settings.port(), &composing);
        settings.world.advance(30s);
        QCOMPARE(settings.kuma().port(), 3001);
        QVERIFY(!settings.showsPortHint());
        QCOMPARE(settings.port()->text(), QString());
        QInputMethodEvent composed;
        composed.setCommitString(QStringLiteral("3005"));
        QCoreApplication::sendEvent(settings.port(), &composed);
        QCOMPARE(settings.port()->text(), QStringLiteral("3005"));
        QCOMPARE(settings.kuma().port(), 3005);
    }

    void whatIsUndoneIsNotStored() {
        Shown settings;
        settings.open();
        settings.type(settings.port(), QStringLiteral("3005"));
        QCOMPARE(settings.kuma().port(), 3005);
        int steps = 0;
        for (; settings.port()->isUndoAvailable() && steps < 10; ++steps) {
            QTest::keyClick(settings.port(), Qt::Key_Z, Qt::ControlModifier);
            QCOMPARE(settings.kuma().port(), portFrom(settings.port()->text()).value_or(3001));
        }
        QVERIFY(steps > 0 && steps < 10);
        QCOMPARE(settings.port()->text(), QStringLiteral("3001"));
        for (; settings.port()->isRedoAvailable() && steps < 20; ++steps) {
            QTest::keyClick(settings.port(), Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
        }
        QCOMPARE(settings.port()->text(), QStringLiteral("3005"));
        QCOMPARE(settings.kuma().port(), 3005);
    }

    void portsCanBePasted_data() {
        QTest::addColumn<QString>("copied");
        QTest::addColumn<int>("port");
        QTest::newRow("number") << QStringLiteral("3005") << 3005;
        QTest::newRow("line") << QStringLiteral("3005\n") << 3005;
        QTest::newRow("cell") << QStringLiteral("\t3005 ") << 3005;
        QTest::newRow("address") << QStringLiteral("http://localhost:3005") << 3001;
        QTest::newRow("two lines") << QStringLiteral("3005\n3006") << 3001;
    }
    void portsCanBePasted() {
        QFETCH(const QString, copied);
        QFETCH(const int, port);
        Shown settings;
        settings.open();
        QGuiApplication::clipboard()->setText(copied);
        settings.port()->setFocus();
        settings.port()->selectAll();
        QTest::keyClick(settings.port(), Qt::Key_V, Qt::ControlModifier);
        QCOMPARE(settings.kuma().port(), port);
        QCOMPARE(settings.showsPortHint(), port == 3001);
        QTest::keyClick(settings.port(), Qt::Key_Return);
        QCOMPARE(settings.kuma().port(), port);
        if (port != 3001) {
            QCOMPARE(settings.port()->text(), QString::number(port));
        }
    }

    void keysPressedByChanceChangeNothing() {
        Shown settings;
        settings.open();
        QTest::keyClicks(settings.view.focusWidget(), QStringLiteral("5"));
        QCOMPARE(settings.kuma().port(), 3001);
        QCOMPARE(settings.port()->text(), QStringLiteral("3001"));
    }

    void portsChangedElsewhereAreShown() {
        Shown settings;
        settings.open();
        settings.type(settings.port(), QStringLiteral("70000"));
        settings.kuma().setPort(3002);
        settings.world.settle();
        QCOMPARE(settings.port()->text(), QStringLiteral("3002"));
        QVERIFY(!settings.showsPortHint());
        settings.type(settings.port(), QStringLiteral("x"));
        QCOMPARE(settings.kuma().port(), 3002);
    }

    void slugIsStoredAsItIsTyped() {
        Shown settings;
        settings.open();
        settings.type(settings.slug(), QStringLiteral("home <b>&"));
        QCOMPARE(settings.kuma().slug(), QStringLiteral("home <b>&"));
        settings.kuma().setSlug(QStringLiteral("other"));
        settings.world.settle();
        QCOMPARE(settings.slug()->text(), QStringLiteral("other"));
    }

    void loginSwitchShowsTheTrueStatus() {
        Shown settings;
        settings.open();
        Switch* const launch = settings.switchWith(QStringLiteral("Launch at login"));
        QVERIFY(!launch->isChecked());
        QTest::mouseClick(launch, Qt::LeftButton);
        settings.world.settle();
        QVERIFY(settings.world.loginItem.enabled);
        QVERIFY(launch->isChecked());

        settings.world.loginItem.failure = QStringLiteral("why");
        QTest::mouseClick(launch, Qt::LeftButton);
        settings.world.settle();
        QVERIFY(launch->isChecked());
        QVERIFY(accessible(launch)->state().checked);
        QCOMPARE(settings.kuma().error()->message, QStringLiteral("Could not change launch at login."));
    }

    void loginSwitchIsReadAgainWhenTheWindowComesBack() {
        Shown settings;
        settings.open();
        QWidget other;
        other.show();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        settings.world.loginItem.enabled = true;
        settings.view.activateWindow();
        QVERIFY(waitUntil([&] { return settings.switchWith(QStringLiteral("Launch at login"))->isChecked(); }));
    }

    void stopOnQuitIsStored() {
        Shown settings;
        settings.open();
        Switch* const stop = settings.switchWith(QStringLiteral("Stop the container when I quit"));
        QTest::mouseClick(stop, Qt::LeftButton);
        QVERIFY(settings.kuma().stopOnQuit());
        QTest::keyClick(stop, Qt::Key_Space);
        QVERIFY(!settings.kuma().stopOnQuit());
    }

    void dataFolderIsRevealed() {
        Shown settings;
        settings.open();
        settings.click(QStringLiteral("Reveal data folder in Finder"));
        QCOMPARE(settings.world.desktop.revealed, QStringList{settings.kuma().dataDir()});
    }

    void dockerInUseIsShown() {
        Shown settings;
        settings.open();
        QVERIFY(shows(&settings.view, QStringLiteral("Docker was not found.")));
        settings.kuma().recheck();
        settings.world.settle();
        QVERIFY(shows(&settings.view, QStringLiteral("In use: /opt/bin/docker")));
        settings.world.installedDocker = std::nullopt;
        settings.kuma().recheck();
        settings.world.settle();
        QVERIFY(shows(&settings.view, QStringLiteral("Docker was not found.")));
    }

    void longPathsBreakNoLayout() {
        Shown settings;
        const QString path = QStringLiteral("/") + QString(2000, u'x') + QStringLiteral("/<b>docker</b>");
        settings.world.installedDocker = path;
        settings.kuma().recheck();
        settings.open();
        auto* area = settings.view.findChild<QScrollArea*>();
        QVERIFY(area->widget()->width() <= area->viewport()->width());
        bool isSaid = false;
        for (QLabel* label : settings.view.findChildren<QLabel*>()) {
            isSaid |= accessible(label)->text(QAccessible::Name) == QStringLiteral("In use: ") + path;
        }
        QVERIFY(isSaid);
    }

    void dockerPathCanBeTyped() {
        Shown settings;
        settings.world.executables.insert(QStringLiteral("/my/docker"));
        settings.open();
        QCOMPARE(settings.dockerOverride()->placeholderText(), QStringLiteral("Automatic"));
        settings.type(settings.dockerOverride(), QStringLiteral("/my/docker"));
        QCOMPARE(settings.kuma().dockerOverride(), QStringLiteral("/my/docker"));
        QVERIFY(settings.world.takeCommands().isEmpty());
        settings.kuma().begin();
        settings.world.settle();
        QVERIFY(shows(&settings.view, QStringLiteral("In use: /my/docker")));
    }

    void dockerCanBeChosen() {
        Shown settings;
        settings.world.executables.insert(QStringLiteral("/my/docker"));
        settings.open();
        settings.click(QStringLiteral("Choose…"));
        QCOMPARE(settings.world.dialogs.openPanels.size(), 1);
        const OpenPanel panel = settings.world.dialogs.openPanels[0];
        QCOMPARE(panel.message, QStringLiteral("Choose the docker command line tool"));
        QVERIFY(panel.filesAllowed && !panel.foldersAllowed);
        settings.world.dialogs.pathQuestions[0].answer.complete(QStringLiteral("/my/docker"));
        settings.world.settle();
        QCOMPARE(settings.kuma().dockerOverride(), QStringLiteral("/my/docker"));
        QCOMPARE(settings.dockerOverride()->text(), QStringLiteral("/my/docker"));
        // Probed at once.
        QVERIFY(shows(&settings.view, QStringLiteral("In use: /my/docker")));
        QVERIFY(settings.world.takeCommands().contains(QStringLiteral("inspect")));
    }

    void cancellingTheChoiceChangesNothing() {
        Shown settings;
        settings.kuma().setDockerOverride(QStringLiteral("/my/docker"));
        settings.open();
        settings.click(QStringLiteral("Choose…"));
        settings.world.dialogs.pathQuestions[0].answer.complete(std::nullopt);
        settings.world.settle();
        QCOMPARE(settings.kuma().dockerOverride(), QStringLiteral("/my/docker"));
        QCOMPARE(settings.world.dockerSearches, 0);
        QVERIFY(settings.world.takeCommands().isEmpty());
    }

    void whenUpdateCanBePressed_data() {
        QTest::addColumn<QString>("latest");
        QTest::addColumn<bool>("isBusy");
        QTest::addColumn<DockerState>("docker");
        QTest::addColumn<bool>("can");
        QTest::newRow("newer") << "2.1.0" << false << DockerState::ready << true;
        QTest::newRow("any other text") << "2.0" << false << DockerState::ready << true;
        QTest::newRow("not checked") << QString() << false << DockerState::ready << false;
        QTest::newRow("the same") << "2" << false << DockerState::ready << false;
        QTest::newRow("busy") << "2.1.0" << true << DockerState::ready << false;
        QTest::newRow("missing") << "2.1.0" << false << DockerState::missing << false;
        QTest::newRow("not running") << "2.1.0" << false << DockerState::notRunning << false;
        QTest::newRow("unknown") << "2.1.0" << false << DockerState::unknown << false;
    }
    void whenUpdateCanBePressed() {
        QFETCH(const QString, latest);
        QFETCH(const bool, isBusy);
        QFETCH(const DockerState, docker);
        QFETCH(const bool, can);
        const auto optional = [](bool isThere, const QString& text) {
            return isThere ? std::optional(text) : std::nullopt;
        };
        QCOMPARE(canUpdate(optional(!latest.isNull(), latest), QStringLiteral("2"),
                           optional(isBusy, QStringLiteral("Stopping…")), docker),
                 can);
    }

    void anUpdateIsFoundAndOffered() {
        Shown settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        QVERIFY(!button(&settings.view, updateText)->isEnabled());
        QVERIFY(button(&settings.view, notesText) == nullptr);
        settings.click(checkText);
        QVERIFY(shows(&settings.view, QStringLiteral("Newest release: 2.1.0")));
        QVERIFY(button(&settings.view, updateText)->isEnabled());
        settings.click(updateText);
        QCOMPARE(settings.world.dialogs.questions.size(), 1);
        QCOMPARE(settings.world.dialogs.questions[0].alert.message, QStringLiteral("Update Uptime Kuma to 2.1.0?"));
    }

    void updateWaitsForTheOperationUnderWay() {
        Shown settings;
        settings.open();
        QVERIFY(settings.world.isPolledAsRunning());
        settings.click(checkText);
        settings.world.delay("compose stop", 5s, 1);
        settings.kuma().stop();
        settings.world.settle();
        QVERIFY(!button(&settings.view, updateText)->isEnabled());
        QVERIFY(settings.world.operationEnds());
        settings.world.settle();
        QVERIFY(button(&settings.view, updateText)->isEnabled());
    }

    void onlyOneCheckAtATime() {
        Shown settings;
        settings.world.releases.holds = true;
        settings.open();
        QAbstractButton* const check = button(&settings.view, checkText);
        check->setFocus();
        QTest::keyClick(check, Qt::Key_Space);
        settings.world.settle();
        QVERIFY(!check->isEnabled());
        settings.world.releases.letGo();
        settings.world.settle();
        QVERIFY(check->isEnabled());
        // The keys come back to where they were.
        QVERIFY(check->hasFocus());
    }

    /// A screen reader says what has the focus, with its description.
    void screenReadersAreToldHowACheckEnded() {
        Shown settings;
        settings.open();
        QAbstractButton* const check = button(&settings.view, checkText);
        const auto description = [check] { return accessible(check)->text(QAccessible::Description); };
        QCOMPARE(description(), QString());
        settings.world.releases.holds = true;
        QString saidWithFocus;
        const QObject listener;
        connect(qApp, &QApplication::focusChanged, &listener, [&](QWidget*, QWidget* now) {
            if (now == check) {
                saidWithFocus = description();
            }
        });
        settings.click(checkText);
        QVERIFY(!check->hasFocus());
        settings.world.releases.letGo();
        settings.world.settle();
        QVERIFY(check->hasFocus());
        QCOMPARE(saidWithFocus, QStringLiteral("Newest release: 2.1.0"));

        settings.kuma().setImageTag(QStringLiteral("1"));
        settings.world.settle();
        QCOMPARE(description(), QStringLiteral("Newest release: 2.1.0\nThis is a major version change and may need "
                                               "Uptime Kuma's own migration. Read the release notes first."));
        settings.world.releases.answer = ReleaseError{QStringLiteral("Could not check for updates (HTTP 403).")};
        settings.world.releases.holds = true;
        settings.click(checkText);
        settings.world.releases.letGo();
        settings.world.settle();
        QVERIFY(saidWithFocus.startsWith(QStringLiteral("Could not check for updates (HTTP 403).")));
    }

    void aFailedCheckIsTold() {
        Shown settings;
        const QString message = QStringLiteral("Could not check for updates (HTTP 403).");
        settings.world.releases.answer = ReleaseError{message};
        settings.open();
        QVERIFY(!shows(&settings.view, message));
        settings.click(checkText);
        QVERIFY(shows(&settings.view, message));
        QVERIFY(button(&settings.view, notesText) == nullptr);
        settings.world.releases.answer = LatestRelease{.version = QStringLiteral("2.1.0")};
        settings.click(checkText);
        QVERIFY(!shows(&settings.view, message));
    }

    void aMajorChangeIsWarnedOf() {
        const auto warning = QStringLiteral("This is a major version change and may need Uptime Kuma's own migration. "
                                            "Read the release notes first.");
        Shown settings;
        settings.open();
        settings.click(checkText);
        QVERIFY(!shows(&settings.view, warning));
        settings.kuma().setImageTag(QStringLiteral("1"));
        settings.world.settle();
        QVERIFY(shows(&settings.view, QStringLiteral("Pinned image: louislam/uptime-kuma:1")));
        QVERIFY(shows(&settings.view, warning));
    }

    void releaseNotesAreALink() {
        Shown settings;
        settings.open();
        settings.click(checkText);
        settings.click(notesText);
        const QUrl page(QStringLiteral("https://example.org/2.1.0"));
        QCOMPARE(settings.world.desktop.opened, QList<QUrl>{page});
        QAccessibleInterface* const link = accessible(button(&settings.view, notesText));
        QCOMPARE(link->role(), QAccessible::Link);
        QCOMPARE(link->text(QAccessible::Name), notesText);
        link->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QCOMPARE(settings.world.desktop.opened.size(), 2);
    }

    void onlyWebPagesAreOpened_data() {
        QTest::addColumn<QString>("page");
        QTest::addColumn<bool>("isOpened");
        QTest::newRow("web") << QStringLiteral("https://example.org/x") << true;
        QTest::newRow("file") << QStringLiteral("file:///etc/passwd") << false;
        QTest::newRow("script") << QStringLiteral("javascript:alert(1)") << false;
        QTest::newRow("mail") << QStringLiteral("mailto:a@example.org") << false;
    }
    void onlyWebPagesAreOpened() {
        QFETCH(const QString, page);
        QFETCH(const bool, isOpened);
        ControllerFixture world;
        QList<QUrl> opened;
        FreedesktopDesktop desktop(PrivateBus::none(), [&opened](const QUrl& address) { opened.append(address); });
        SettingsView view({world.controller(), desktop, world.clock, {}}, world.dialogs);
        world.releases.answer = LatestRelease{.version = QStringLiteral("3"), .page = page};
        world.controller().checkForUpdates();
        world.settle();
        view.show();
        QAbstractButton* const link = button(&view, notesText);
        QVERIFY(link != nullptr);
        link->click();
        QCOMPARE(opened, isOpened ? QList<QUrl>{QUrl(page)} : QList<QUrl>());
    }

    void removingAsksFirst() {
        Shown settings;
        settings.open();
        settings.click(QStringLiteral("Remove everything…"));
        QCOMPARE(settings.world.dialogs.questions.size(), 1);
        QCOMPARE(settings.world.dialogs.questions[0].alert.message, QStringLiteral("Remove everything?"));
        QVERIFY(!settings.kuma().busy());
    }

    void coloursCanBeRead_data() {
        QTest::addColumn<QPalette>("palette");
        QTest::newRow("light") << lightPalette();
        QTest::newRow("dark") << darkPalette();
    }
    void coloursCanBeRead() {
        QFETCH(const QPalette, palette);
        const QPalette before = QApplication::palette();
        QApplication::setPalette(palette);
        Shown settings;
        settings.open();
        settings.click(checkText);
        settings.kuma().setImageTag(QStringLiteral("1"));
        settings.type(settings.port(), QStringLiteral("70000"));
        int orange = 0;
        for (const QLabel* label : settings.view.findChildren<QLabel*>()) {
            if (label->isVisible()) {
                const QColor color = label->palette().color(QPalette::WindowText);
                QVERIFY2(contrast(color, palette.color(QPalette::Window)) >= 4.5, qPrintable(label->text()));
                orange += color == textColor(Meaning::pending, palette) ? 1 : 0;
            }
        }
        QCOMPARE(orange, 2);
        const QPalette danger = button(&settings.view, QStringLiteral("Remove everything…"))->palette();
        QCOMPARE(danger.color(QPalette::ButtonText), textColor(Meaning::bad, palette));
        QVERIFY(contrast(danger.color(QPalette::ButtonText), danger.color(QPalette::Button)) >= 4.5);
        QApplication::setPalette(before);
    }

    void theFormScrolls() {
        Shown settings;
        settings.open();
        settings.view.resize(560, 300);
        drainEvents();
        auto* area = settings.view.findChild<QScrollArea*>();
        QVERIFY(area->verticalScrollBar()->maximum() > 0);
        QVERIFY(area->widget()->width() <= area->viewport()->width());
        // What Tab reaches comes into view.
        QAbstractButton* const last = button(&settings.view, QStringLiteral("Remove everything…"));
        settings.port()->setFocus();
        for (int i = 0; i < 20 && !last->hasFocus(); ++i) {
            QTest::keyClick(settings.view.focusWidget(), Qt::Key_Tab);
        }
        QVERIFY(last->hasFocus());
        const QPoint place = last->mapTo(area->viewport(), last->rect().center());
        QVERIFY(area->viewport()->rect().contains(place));
    }

    void tabGoesFromTopToBottom() {
        Shown settings;
        settings.open();
        settings.click(checkText);
        QVERIFY(settings.world.isPolledAsRunning());
        QStringList reached;
        settings.port()->setFocus();
        for (int i = 0; i < 11; ++i) {
            reached << accessible(settings.view.focusWidget())->text(QAccessible::Name);
            QTest::keyClick(settings.view.focusWidget(), Qt::Key_Tab);
        }
        const QStringList expected{QStringLiteral("Port"),
                                   QStringLiteral("Status page slug"),
                                   QStringLiteral("Launch at login"),
                                   QStringLiteral("Stop the container when I quit"),
                                   QStringLiteral("Reveal data folder in Finder"),
                                   QStringLiteral("Path of the docker command line tool"),
                                   QStringLiteral("Choose…"),
                                   checkText,
                                   updateText,
                                   notesText,
                                   QStringLiteral("Remove everything…")};
        QCOMPARE(reached, expected);
    }

    void linesBeginAtTheRightForThoseWhoReadFromThere() {
        Shown settings;
        settings.open();
        const auto isWritten = [](QWidget* widget, const QRect& area) {
            const QImage picture = widget->grab(area).toImage();
            QImage empty(picture.size(), picture.format());
            empty.fill(picture.pixelColor(0, 0));
            return picture != empty;
        };
        const auto beginsAt = [&](QWidget* widget, int x) {
            return isWritten(widget, QRect(x, 0, 20, widget->height()));
        };
        QLabel* const title = visibleWith<QLabel>(&settings.view, QStringLiteral("General"));
        Switch* const launch = settings.switchWith(QStringLiteral("Launch at login"));
        QVERIFY(beginsAt(title, 0) && beginsAt(launch, 0));
        QApplication::setLayoutDirection(Qt::RightToLeft);
        drainEvents();
        const bool areMirrored = beginsAt(title, title->width() - 20) && beginsAt(launch, launch->width() - 20);
        QApplication::setLayoutDirection(Qt::LeftToRight);
        QVERIFY(areMirrored);
    }

    void screenReadersAreToldOfEverything() {
        Shown settings;
        settings.open();
        int named = 0;
        for (QWidget* widget : settings.view.findChildren<QWidget*>()) {
            if (widget->isVisible() && widget->focusPolicy() != Qt::NoFocus) {
                QVERIFY2(!accessible(widget)->text(QAccessible::Name).isEmpty(), widget->metaObject()->className());
                named += 1;
            }
        }
        QVERIFY(named >= 10);
        QCOMPARE(accessible(settings.switchWith(QStringLiteral("Launch at login")))->role(), QAccessible::CheckBox);
        int groups = 0;
        for (SettingsSection* section : settings.view.findChildren<SettingsSection*>()) {
            QCOMPARE(accessible(section)->role(), QAccessible::Grouping);
            groups += 1;
        }
        QCOMPARE(groups, 6);
    }

    void nothingIsDrawnWhileHidden() {
        Shown settings;
        settings.open();
        settings.view.hide();
        settings.kuma().setPort(3009);
        settings.world.settle();
        QCOMPARE(settings.port()->text(), QStringLiteral("3001"));
        settings.view.show();
        QCOMPARE(settings.port()->text(), QStringLiteral("3009"));
    }

    void windowIsAsItShouldBe() {
        ControllerFixture world;
        const SettingsWindow window({world.controller(), world.desktop, world.clock, {}}, world.dialogs);
        QCOMPARE(window.windowTitle(), QStringLiteral("Settings"));
        QCOMPARE(window.minimumSize(), window.maximumSize());
        QCOMPARE(window.size(), QSize(560, 640).boundedTo(window.screen()->availableSize()));
    }
};

QTEST_MAIN(TestSettingsView)
#include "TestSettingsView.moc"
