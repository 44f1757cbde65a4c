#include "ControllerFixture.h"
#include "app/MenuContent.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

constexpr KumaState kumaStates[] = {KumaState::stopped, KumaState::starting, KumaState::running, KumaState::error};
constexpr DockerState dockerStates[] = {DockerState::unknown, DockerState::missing, DockerState::notRunning,
                                        DockerState::ready};

const auto busyText = u"Stopping…"_s;

struct Menu {
    explicit Menu(ControllerFixture& world, MenuContent::Painter painter = MenuContent::Painter::panel)
        : content(world.controller(), world.desktop, painter) {}

    MenuContent content;

    QAction* entry(const QString& text) {
        for (QAction* action : content.menu().actions()) {
            if (action->text() == text) {
                return action;
            }
        }
        return nullptr;
    }

    /// What a person sees, with the entries that cannot be chosen in brackets.
    QStringList seen() {
        QStringList lines;
        for (const QAction* action : content.menu().actions()) {
            if (action->isSeparator()) {
                lines << u"-"_s;
            } else if (action->isVisible()) {
                lines << (action->isEnabled() ? action->text() : u"[%1]"_s.arg(action->text()));
            }
        }
        return lines;
    }
};

QStringList menuOf(const QString& status, const QString& dashboard, const QString& startOrStop) {
    return {status, u"-"_s, dashboard, startOrStop, u"Open window"_s, u"-"_s, u"Quit"_s};
}

const auto dashboard = u"Open dashboard"_s;
const auto noDashboard = u"[Open dashboard]"_s;
const auto start = u"Start"_s;
const auto noStart = u"[Start]"_s;
const auto stop = u"Stop"_s;
const auto noStop = u"[Stop]"_s;

} // namespace

class TestMenuContent : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyCombinationOfStates() {
        for (const KumaState kuma : kumaStates) {
            for (const DockerState docker : dockerStates) {
                const bool isStopped = kuma == KumaState::stopped;
                ControllerState state;
                state.kuma = kuma;
                state.dockerState = docker;
                const MenuOffers idle = menuOffers(state);
                QCOMPARE(idle.dashboard, kuma == KumaState::running);
                QCOMPARE(idle.showsStart, isStopped);
                QCOMPARE(idle.startOrStop, isStopped ? docker == DockerState::ready : true);

                state.busy = busyText;
                const MenuOffers busy = menuOffers(state);
                QCOMPARE(busy.dashboard, idle.dashboard);
                QCOMPARE(busy.showsStart, isStopped);
                QVERIFY(!busy.startOrStop);

                // Until it is known what the operation has done.
                state.busy.reset();
                state.settling = busyText;
                QVERIFY(!menuOffers(state).startOrStop);
            }
        }
    }

    void beforeDockerIsKnown() {
        ControllerFixture world;
        Menu menu(world);
        QCOMPARE(menu.seen(), menuOf(u"[Checking Docker…]"_s, noDashboard, noStart));
    }

    void withoutDocker() {
        ControllerFixture world;
        world.installedDocker = std::nullopt;
        Menu menu(world);
        world.controller().begin();
        world.settle();
        menu.content.render();
        QCOMPARE(menu.seen(), menuOf(u"[Docker is not installed]"_s, noDashboard, noStart));
    }

    void withDockerThatDoesNotRun() {
        ControllerFixture world;
        world.docker().daemon = standin::Daemon::down;
        Menu menu(world);
        world.controller().begin();
        world.settle();
        menu.content.render();
        QCOMPARE(menu.seen(), menuOf(u"[Docker is not running]"_s, noDashboard, noStart));
    }

    void stopped() {
        ControllerFixture world;
        Menu menu(world);
        world.controller().begin();
        world.settle();
        menu.content.render();
        QCOMPARE(menu.seen(), menuOf(u"[Uptime Kuma is stopped]"_s, noDashboard, start));
    }

    void starting() {
        ControllerFixture world;
        world.page.answers = false;
        Menu menu(world);
        QVERIFY(!world.isPolledAsRunning());
        menu.content.render();
        QCOMPARE(menu.seen(), menuOf(u"[Uptime Kuma is starting…]"_s, noDashboard, stop));
    }

    void running() {
        ControllerFixture world;
        Menu menu(world);
        QVERIFY(world.isPolledAsRunning());
        menu.content.render();
        QCOMPARE(menu.seen(), menuOf(u"[Uptime Kuma is running]"_s, dashboard, stop));
    }

    void failing() {
        ControllerFixture world;
        standin::addContainer(world.docker(), "restarting");
        Menu menu(world);
        world.controller().begin();
        world.settle();
        menu.content.render();
        QCOMPARE(menu.seen(), menuOf(u"[Uptime Kuma has a problem]"_s, noDashboard, stop));
    }

    void whileAnOperationRuns() {
        ControllerFixture world;
        Menu menu(world);
        QVERIFY(world.isPolledAsRunning());
        world.hang("compose stop", 1);
        menu.content.render();
        menu.entry(stop)->trigger();
        world.settle();
        menu.content.render();
        QCOMPARE(menu.seen(), menuOf(u"[Stopping…]"_s, dashboard, noStop));
        QCOMPARE(world.underWay(), QStringList{u"compose stop"_s});
    }

    void paused() {
        ControllerFixture world;
        standin::addContainer(world.docker(), "paused");
        Menu menu(world);
        world.controller().begin();
        world.settle();
        menu.content.render();
        QCOMPARE(menu.seen(), menuOf(u"[Uptime Kuma is paused]"_s, noDashboard, start));
    }

    void afterAnOperationUntilItsOutcomeIsSeen() {
        ControllerFixture world;
        Menu menu(world);
        QVERIFY(world.isPolledAsRunning());
        world.page.holdsQuestions = true;
        world.controller().start();
        QVERIFY(world.operationEnds());
        menu.content.render();
        QCOMPARE(menu.seen(), menuOf(u"[Starting Uptime Kuma…]"_s, dashboard, noStop));
    }

    void startStarts() {
        ControllerFixture world;
        Menu menu(world);
        world.controller().begin();
        world.settle();
        menu.content.render();
        menu.entry(start)->trigger();
        QCOMPARE(world.controller().state().busy, u"Starting Uptime Kuma…"_s);
        menu.content.render();
        QCOMPARE(menu.seen(), menuOf(u"[Starting Uptime Kuma…]"_s, noDashboard, noStart));
    }

    void dashboardOpensInTheBrowser() {
        ControllerFixture world;
        Menu menu(world);
        QVERIFY(world.isPolledAsRunning());
        menu.content.render();
        menu.entry(dashboard)->trigger();
        QCOMPARE(world.desktop.opened, QList<QUrl>{QUrl(u"http://127.0.0.1:3001/"_s)});
    }

    void openWindowAsksForIt() {
        ControllerFixture world;
        Menu menu(world);
        const QSignalSpy asked(&menu.content, &MenuContent::openWindowRequested);
        menu.entry(u"Open window"_s)->trigger();
        QCOMPARE(asked.size(), 1);
    }

    void quitHasItsKey() {
        ControllerFixture world;
        Menu menu(world);
        QCOMPARE(menu.entry(u"Quit"_s)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_Q));
    }

    void nothingIsToldTwice() {
        ControllerFixture world;
        Menu menu(world);
        QVERIFY(world.isPolledAsRunning());
        menu.content.render();
        const QList<QAction*> before = menu.content.menu().actions();
        int changes = 0;
        for (const QAction* action : before) {
            connect(action, &QAction::changed, this, [&changes] { changes += 1; });
        }
        menu.content.render();
        QCOMPARE(changes, 0);
        world.controller().stop();
        menu.content.render();
        // The status line and "Stop".
        QCOMPARE(changes, 2);
        QCOMPARE(menu.content.menu().actions(), before);
    }

    void textIsShownAsItStands_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("panel");
        QTest::addColumn<QString>("ourselves");
        const auto row = [](const char* text, const char* panel, const char* ourselves) {
            QTest::newRow(text) << QString::fromLatin1(text) << QString::fromLatin1(panel)
                                << QString::fromLatin1(ourselves);
        };
        row("plain", "plain", "plain");
        row("A & B", "A && B", "A && B");
        row("A & B & C", "A && B & C", "A && B && C");
        row("snake_case_", "snake__case__", "snake_case_");
        row("_a & b", "__a && b", "_a && b");
        row("end&", "end&&", "end&&");
    }
    void textIsShownAsItStands() {
        QFETCH(const QString, text);
        QTEST(MenuContent::entryText(text, MenuContent::Painter::panel), "panel");
        QTEST(MenuContent::entryText(text, MenuContent::Painter::ourselves), "ourselves");
    }
};

ORVANEL_TEST(TestMenuContent)
#include "TestMenuContent.moc"
