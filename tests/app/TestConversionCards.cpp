#include "Find.h"
#include "ShownWindow.h"
#include "support/TestClass.h"

#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

/// What the main window shows of a conversion, and of one that was interrupted.
class TestConversionCards : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void conversionIsShownWithItsShare() {
        ShownWindow view;
        view.world.page.exactAnswer = PageAnswer::converting;
        view.world.docker().log = "[DB] INFO: [DON'T STOP] total migration progress 41.67%\n";
        QVERIFY(!view.world.isPolledAsRunning());
        view.open();
        const auto plain = u"Uptime Kuma is converting its data for the new version. Do not stop it."_s;
        const auto waits = u"Your backup waits until that is done, and is then made by itself."_s;
        QVERIFY(
            shows(&view.window, u"Uptime Kuma is converting its data for the new version (41 %). Do not stop it."_s));
        QVERIFY(!shows(&view.window, waits));
        QVERIFY(!button(&view.window, u"Open dashboard"_s)->isEnabled());
        view.world.controller().backUpNow();
        view.world.dialogs.pathQuestions.takeLast().answer.complete(u"/media/stick/kuma.zip"_s);
        view.world.docker().log = "[DB] INFO: Clearing non-important heartbeats\n";
        view.world.advance(3s);
        QVERIFY(shows(&view.window, plain));
        QVERIFY(shows(&view.window, waits));
        view.world.page.exactAnswer.reset();
        view.world.advance(5s);
        QVERIFY(view.world.operationEnds());
        view.world.settle();
        QVERIFY(!shows(&view.window, plain));
        QVERIFY(!shows(&view.window, waits));
        QCOMPARE(view.world.backups.jobs.size(), 1);
    }

    void interruptedConversionOffersTheWayBack() {
        ShownWindow view;
        view.open();
        QVERIFY(view.world.isPolledAsRunning());
        KumaController& kuma = view.world.controller();
        kuma.checkForUpdates();
        view.world.settle();
        kuma.updateNow();
        view.world.settle();
        view.world.dialogs.questions.takeLast().answer.complete(true);
        QVERIFY(view.world.operationEnds());
        view.world.docker().container->state = "restarting";
        view.world.docker().log = "[SERVER] ERROR: Aggregate table migration is already in progress\n";
        view.world.advance(3s);
        QVERIFY(button(&view.window, u"Restore…"_s) == nullptr);
        view.click(u"Go back to 2…"_s);
        QCOMPARE(view.world.dialogs.questions.last().alert.message, u"Go back to Uptime Kuma 2?"_s);
    }

    void interruptedConversionOffersARestore() {
        ShownWindow view;
        view.open();
        view.poll();
        QVERIFY(button(&view.window, u"Restore…"_s) == nullptr);
        standin::addContainer(view.world.docker(), "restarting");
        view.world.docker().log = "[SERVER] ERROR: Aggregate table migration is already in progress\n";
        view.world.advance(3s);
        view.click(u"Restore…"_s);
        QCOMPARE(view.world.dialogs.openPanels.size(), 1);
    }
};

ORVANEL_TEST(TestConversionCards)
#include "TestConversionCards.moc"
