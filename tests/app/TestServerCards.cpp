#include "ShownWindow.h"
#include "app/views/DashboardView.h"
#include "app/views/StateCards.h"
#include "support/TestClass.h"

#include <QMenu>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto settings = u"Settings"_s;

/// A window without a slug, whose page answers.
void openGuideCard(ShownWindow& view) {
    QVERIFY(view.world.isPolledAsRunning());
    view.open();
}

} // namespace

/// The cards that are shown once Docker runs: those of a stopped, a busy and a running server.
class TestServerCards : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theDashboardOpensTheOtherWindows() {
        ShownWindow view;
        openGuideCard(view);
        view.click(u"Logs"_s);
        view.click(settings);
        QCOMPARE(view.opened, (QStringList{u"logs"_s, settings.toLower()}));
    }

    void aPausedContainerCanGoOn() {
        ShownWindow view;
        standin::addContainer(view.world.docker(), "paused");
        view.open();
        view.poll();
        auto* card = visible<StartCard>(&view.window);
        QVERIFY(card != nullptr);
        QCOMPARE(card->accessibleName(), u"Uptime Kuma is paused"_s);
        QVERIFY(shows(card, u"Uptime Kuma is paused"_s));
        QVERIFY(shows(card, u"Another program has paused the container of Uptime Kuma. One click lets it go on."_s));
        QCOMPARE(view.statusLine(), u"Uptime Kuma is paused"_s);
        view.click(u"Start Uptime Kuma"_s);
        QVERIFY(view.world.operationEnds());
        QVERIFY(visible<DashboardView>(&view.window) != nullptr);
        QVERIFY(!shows(&view.window, u"Uptime Kuma is paused"_s));
    }

    void theBusyCardStaysUntilTheOutcomeIsSeen() {
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        view.world.delay("info", 1s);
        view.click(u"Restart"_s);
        // The look before the stop has its answer by now.
        view.world.page.holdsQuestions = true;
        QVERIFY(view.world.operationEnds());
        QVERIFY(!view.world.controller().state().busy);
        view.world.settle();
        QVERIFY(visible<BusyCard>(&view.window) != nullptr);
        QCOMPARE(view.statusLine(), u"Starting Uptime Kuma…"_s);
        QVERIFY(shows(visible<BusyCard>(&view.window), u"Starting Uptime Kuma…"_s));
        // There is nothing left to cancel.
        QVERIFY(!button(&view.window, u"Cancel"_s)->isEnabled());
        view.world.page.letGo();
        view.world.settle();
        QVERIFY(visible<DashboardView>(&view.window) != nullptr);
        QCOMPARE(view.statusLine(), u"Uptime Kuma is running"_s);
    }

    void theStartCardOpensTheSettings() {
        ShownWindow view;
        view.open();
        view.click(settings);
        QCOMPARE(view.opened, QStringList(u"settings"_s));
    }

    void theBackupMenuBacksUpAndRestores() {
        ShownWindow view;
        openGuideCard(view);
        const QMenu* const menu = button(&view.window, u"Backup"_s)->findChild<QMenu*>();
        const QList<QAction*> entries = menu->actions();
        QCOMPARE(entries.size(), 2);
        QCOMPARE(entries[0]->text(), u"Back up now…"_s);
        QCOMPARE(entries[1]->text(), u"Restore…"_s);
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
        ShownWindow view;
        view.world.delay("info", 5s);
        view.open();
        view.poll();
        view.world.advance(5s);
        QAbstractButton* const start = button(&view.window, u"Start Uptime Kuma"_s);
        start->setFocus();
        QTest::keyClick(start, Qt::Key_Space);
        view.world.settle();
        QVERIFY(visible<BusyCard>(&view.window) != nullptr);
        QVERIFY(qobject_cast<QAbstractButton*>(view.window.focusWidget()) == nullptr);
    }
};

ORVANEL_TEST(TestServerCards)
#include "TestServerCards.moc"
