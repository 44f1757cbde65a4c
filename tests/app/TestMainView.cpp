#include "Palettes.h"
#include "ShownWindow.h"
#include "app/views/DashboardCards.h"
#include "app/views/DashboardView.h"
#include "app/views/ErrorCard.h"
#include "app/views/MonitorList.h"
#include "app/views/MonitorRows.h"
#include "app/views/StateCards.h"
#include "app/widgets/Drawings.h"
#include "app/widgets/Progress.h"
#include "app/widgets/TextBox.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QAccessible>
#include <QApplication>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto startText = u"Start Uptime Kuma"_s;
const auto dashboardText = u"Open dashboard"_s;

QString accessibleText(QWidget* widget) {
    return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
}

QAccessible::Role accessibleRole(QWidget* widget) {
    return QAccessible::queryAccessibleInterface(widget)->role();
}

} // namespace

class TestMainView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whichCardIsShown_data() {
        QTest::addColumn<ControllerState>("state");
        QTest::addColumn<StateCard>("card");
        using enum KumaState;
        using enum DockerState;
        const std::optional<QString> busy = u"Busy"_s;
        const auto row = [](const char* name, const ControllerState& state, StateCard card) {
            QTest::newRow(name) << state << card;
        };
        row("missing", {.dockerState = missing, .kuma = running, .busy = busy, .pulling = true},
            StateCard::dockerMissing);
        row("not running", {.dockerState = notRunning, .kuma = running, .busy = busy, .pulling = true},
            StateCard::dockerNotRunning);
        row("pulling", {.dockerState = ready, .busy = busy, .pulling = true}, StateCard::pull);
        row("pulling at the start", {.busy = busy, .pulling = true}, StateCard::pull);
        row("busy", {.dockerState = ready, .kuma = running, .busy = busy}, StateCard::busy);
        row("busy at the start", {.busy = busy}, StateCard::busy);
        row("stopped", {.dockerState = ready}, StateCard::start);
        row("at the start", {}, StateCard::start);
        row("unknown again", {.kuma = running}, StateCard::start);
        row("starting", {.dockerState = ready, .kuma = starting}, StateCard::dashboard);
        row("running", {.dockerState = ready, .kuma = running}, StateCard::dashboard);
        row("error", {.dockerState = ready, .kuma = error}, StateCard::dashboard);
    }
    void whichCardIsShown() {
        QFETCH(const ControllerState, state);
        QFETCH(const StateCard, card);
        QCOMPARE(stateCardFor(state), card);
    }

    void aSetupComesBeforeEverything() {
        ControllerState state;
        state.setupBusy = u"Installing"_s;
        QCOMPARE(stateCardFor(state), StateCard::setup);
        state.dockerState = DockerState::missing;
        state.kuma = KumaState::running;
        state.busy = u"Busy"_s;
        state.pulling = true;
        QCOMPARE(stateCardFor(state), StateCard::setup);
    }

    void windowIsAsItShouldBe() {
        const ShownWindow view;
        QCOMPARE(view.window.windowTitle(), u"Orvanel"_s);
        QCOMPARE(view.window.minimumSize(), QSize(560, 520));
        QCOMPARE(view.window.maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
    }

    void atTheStartNothingCanBeStarted() {
        ShownWindow view;
        view.open();
        QCOMPARE(view.statusLine(), u"Checking Docker…"_s);
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
        QVERIFY(!button(&view.window, startText)->isEnabled());
        QTest::keyClick(&view.window, Qt::Key_Return);
        QVERIFY(!view.world.controller().state().busy);
    }

    void missingDockerCanBeCheckedAgain() {
        ShownWindow view;
        view.world.installedDocker = std::nullopt;
        view.open();
        view.poll();
        QVERIFY(shows(&view.window, u"Docker is not installed"_s));
        view.world.installedDocker = u"/opt/bin/docker"_s;
        view.click(u"Check again"_s);
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
    }

    void dockerThatDoesNotRunCanBeCheckedAgain() {
        ShownWindow view;
        view.world.docker().daemon = standin::Daemon::down;
        view.open();
        view.poll();
        QVERIFY(shows(&view.window, u"Docker is not running"_s));
        view.world.docker().daemon = standin::Daemon::up;
        view.click(u"Check again"_s);
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
    }

    void startCardTellsThePort() {
        ShownWindow view;
        view.world.controller().setPort(3005);
        view.open();
        QVERIFY(shows(&view.window, u"One click starts Uptime Kuma in Docker. It is only reachable from "
                                    "this Mac (127.0.0.1:3005)."_s));
    }

    void returnStarts() {
        ShownWindow view;
        view.open();
        view.poll();
        QTest::keyClick(&view.window, Qt::Key_Return);
        QCOMPARE(view.world.controller().state().busy, u"Starting Uptime Kuma…"_s);
    }

    void returnPressesTheFocusedButtonFirst() {
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        button(&view.window, u"Restart"_s)->setFocus();
        QTest::keyClick(view.window.focusWidget(), Qt::Key_Return);
        QCOMPARE(view.world.controller().state().busy, u"Restarting…"_s);
        QCOMPARE(view.world.desktop.opened.size(), 0);
    }

    void busyCardCanCancel() {
        ShownWindow view;
        view.world.delay("info", 5s);
        view.open();
        view.poll();
        view.click(startText);
        QVERIFY(visible<BusyCard>(&view.window) != nullptr);
        QCOMPARE(view.statusLine(), u"Starting Uptime Kuma…"_s);
        QVERIFY(visible<Spinner>(&view.window)->isTurning());
        view.click(u"Cancel"_s);
        view.world.advance(5s);
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
        QVERIFY(!view.world.takeCommands().contains(u"compose up"_s));
    }

    void pullCardShowsTheDownload() {
        ShownWindow view;
        view.open();
        view.poll();
        view.world.docker().pace = 1;
        view.click(startText);
        while (!view.world.controller().state().pulling) {
            QVERIFY(view.world.clock.pendingTimers() > 0);
            view.world.advance(view.world.clock.untilNextTimer());
        }
        QVERIFY(visible<PullCard>(&view.window) != nullptr);
        QVERIFY(shows(&view.window, u"Downloading the Uptime Kuma image"_s));
        QVERIFY(shows(&view.window, u"This is a few hundred MB and only happens the first time."_s));
        auto* box = visible<TextBox>(&view.window);
        QCOMPARE(box->placeholderText(), u"Waiting for Docker…"_s);
        QCOMPARE(box->height(), 180);
        QVERIFY(visible<BusyBar>(&view.window)->isMoving());
        view.world.advance(8s);
        QVERIFY(!box->toPlainText().isEmpty());
        QCOMPARE(box->toPlainText() + u'\n', view.world.controller().state().pullLog);
        view.click(u"Cancel"_s);
        QVERIFY(visible<PullCard>(&view.window) == nullptr);
        QVERIFY(shows(&view.window, u"Cancelled."_s));
    }

    void dashboardOperates() {
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        QVERIFY(visible<DashboardView>(&view.window) != nullptr);
        QTest::keyClick(&view.window, Qt::Key_Return);
        QCOMPARE(view.world.desktop.opened, QList<QUrl>{QUrl(u"http://127.0.0.1:3001/"_s)});
        view.click(u"Stop"_s);
        QVERIFY(view.world.operationEnds());
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
        QVERIFY(visible<DashboardView>(&view.window) == nullptr);
    }

    void whileStartingTheDashboardIsLocked() {
        ShownWindow view;
        view.world.page.answers = false;
        QVERIFY(!view.world.isPolledAsRunning());
        view.open();
        QVERIFY(!button(&view.window, dashboardText)->isEnabled());
        QVERIFY(shows(&view.window, u"Uptime Kuma is starting. The dashboard button unlocks when the "
                                    "page answers."_s));
        view.world.page.answers = true;
        view.world.advance(3s);
        QVERIFY(button(&view.window, dashboardText)->isEnabled());
        QVERIFY(visible<Spinner>(&view.window) == nullptr);
    }

    void errorCardWithoutDetails() {
        ShownWindow view;
        view.open();
        view.poll();
        view.world.loginItem.failure = QString();
        view.world.controller().setLaunchAtLogin(true);
        view.world.settle();
        QVERIFY(shows(&view.window, u"Could not change launch at login."_s));
        QVERIFY(button(&view.window, u"Show details"_s) == nullptr);
        // The error is shown beside whatever card is shown.
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
    }

    void errorCardShowsDetailsAsTheyStand() {
        ShownWindow view;
        view.open();
        view.world.loginItem.failure = u"<b>no & no</b>"_s;
        view.world.controller().setLaunchAtLogin(true);
        view.world.settle();
        QVERIFY(visible<TextBox>(&view.window) == nullptr);
        view.click(u"Show details"_s);
        QCOMPARE(visible<TextBox>(&view.window)->toPlainText(), u"<b>no & no</b>"_s);
    }

    void takenPortCanBeReplaced() {
        ShownWindow view;
        view.world.listeningPorts = {3001};
        view.open();
        view.poll();
        view.click(startText);
        QVERIFY(shows(&view.window, u"Port 3001 is already in use by another program."_s));
        view.click(u"Use port 3002 instead and start"_s);
        QCOMPARE(view.world.controller().state().port, 3002);
        QVERIFY(view.world.operationEnds());
        QVERIFY(visible<ErrorCard>(&view.window) == nullptr);
        QVERIFY(visible<DashboardView>(&view.window) != nullptr);
    }

    void withoutASlugThereIsNoMonitorList_data() {
        QTest::addColumn<QString>("slug");
        QTest::addColumn<bool>("isBlank");
        QTest::newRow("empty") << QString() << true;
        QTest::newRow("spaces and tabs") << u" \t "_s << true;
        QTest::newRow("a slug") << u"home"_s << false;
        QTest::newRow("a line break") << u"\n"_s << false;
    }
    void withoutASlugThereIsNoMonitorList() {
        QFETCH(const QString, slug);
        QFETCH(const bool, isBlank);
        ShownWindow view;
        view.world.controller().setSlug(slug);
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        QCOMPARE(visible<MonitorList>(&view.window) == nullptr, isBlank);
    }

    void statusErrorReplacesTheList() {
        ShownWindow view;
        view.world.controller().setSlug(u"a<b>&c"_s);
        view.world.page.status = StatusPageError{u"Nothing there."_s};
        QVERIFY(view.world.isPolledAsRunning());
        view.world.settle();
        view.open();
        QVERIFY(visible<MonitorList>(&view.window) == nullptr);
        QVERIFY(shows(&view.window, u"Nothing there."_s));
        QVERIFY(shows(&view.window, u"Check that a status page with the slug “a<b>&c” exists, is saved, "
                                    "and contains your monitors."_s));
    }

    void statusErrorGoesWhileTheContainerKeepsRestarting() {
        ShownWindow view;
        view.world.controller().setSlug(u"home"_s);
        view.world.page.status = StatusPageError{u"Nothing there."_s};
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        view.world.docker().container->state = "restarting";
        view.world.advance(3s);
        QVERIFY(visible<DashboardView>(&view.window) != nullptr);
        QVERIFY(!shows(&view.window, u"Nothing there."_s));
        QVERIFY(visible<MonitorList>(&view.window) == nullptr);
        QVERIFY(shows(&view.window, u"Uptime Kuma keeps restarting. Open the logs to see why."_s));
    }

    void nothingIsDrawnWhileHidden() {
        ShownWindow view;
        view.open();
        view.window.hide();
        view.poll();
        QCOMPARE(view.statusLine(), u"Checking Docker…"_s);
        view.window.show();
        QCOMPARE(view.statusLine(), u"Uptime Kuma is stopped"_s);
    }

    void focusStaysWhileNothingOfItChanges() {
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        QAbstractButton* const restart = button(&view.window, u"Restart"_s);
        restart->setFocus();
        view.world.page.answers = false;
        view.world.advance(3s);
        QVERIFY(!button(&view.window, dashboardText)->isEnabled());
        QCOMPARE(view.window.focusWidget(), restart);
    }

    void everythingIsReachedByTab() {
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        QStringList reached;
        for (int i = 0; i < 6; ++i) {
            QTest::keyClick(&view.window, Qt::Key_Tab);
            if (const auto* focused = qobject_cast<const QAbstractButton*>(view.window.focusWidget())) {
                reached << focused->text();
            }
        }
        QCOMPARE(reached.mid(0, 3), (QStringList{dashboardText, u"Stop"_s, u"Restart"_s}));
    }

    void controlWCloses() {
        ShownWindow view;
        view.open();
        QTest::keyClick(&view.window, Qt::Key_W, Qt::ControlModifier);
        QVERIFY(!view.window.isVisible());
    }

    void everythingThatMattersHasAName() {
        ShownWindow view;
        view.world.controller().setSlug(u"home"_s);
        view.world.page.status = statusPage({monitor(1, 1)});
        QVERIFY(view.world.isPolledAsRunning());
        view.world.loginItem.failure = u"why"_s;
        view.world.controller().setLaunchAtLogin(true);
        view.open();
        view.click(u"Show details"_s);
        int named = 0;
        for (QWidget* widget : view.window.findChildren<QWidget*>()) {
            const bool canBeFocused = widget->isVisible() && widget->focusPolicy() != Qt::NoFocus;
            if (canBeFocused || qobject_cast<Dot*>(widget) != nullptr) {
                QVERIFY2(!accessibleText(widget).isEmpty(), widget->metaObject()->className());
                named += 1;
            }
        }
        // Six buttons, the scrolling area, the list, "Show details" and its box, the dot.
        QVERIFY(named >= 11);
        QCOMPARE(accessibleRole(visible<ErrorCard>(&view.window)), QAccessible::Notification);
        QCOMPARE(accessibleRole(visible<DashboardView>(&view.window)->findChild<Card*>()), QAccessible::Grouping);
        QCOMPARE(accessibleText(visible<ErrorCard>(&view.window)), u"Error"_s);
        QCOMPARE(accessibleRole(visible<MonitorRows>(&view.window)), QAccessible::List);
        QCOMPARE(accessibleRole(view.healthDot()), QAccessible::Graphic);
    }

    void paletteSwitchIsFollowed() {
        QApplication::setPalette(lightPalette());
        ShownWindow view;
        view.open();
        const QImage light = view.window.grab().toImage();
        QCOMPARE(light.pixelColor(view.healthDot()->geometry().center()), dotColor(Meaning::inactive, lightPalette()));
        QApplication::setPalette(darkPalette());
        drainEvents();
        const QImage dark = view.window.grab().toImage();
        QCOMPARE(dark.pixelColor(1, 1), darkPalette().color(QPalette::Window));
        QCOMPARE(dark.pixelColor(view.healthDot()->geometry().center()), dotColor(Meaning::inactive, darkPalette()));
        QApplication::setPalette(lightPalette());
    }

    void spinnerTurnsOnlyWhileSeen() {
        Spinner spinner;
        QVERIFY(!spinner.isTurning());
        spinner.show();
        QVERIFY(spinner.isTurning());
        spinner.hide();
        QVERIFY(!spinner.isTurning());
    }
};

ORVANEL_TEST(TestMainView)
#include "TestMainView.moc"
