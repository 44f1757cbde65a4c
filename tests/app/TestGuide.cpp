#include "ShownWindow.h"
#include "app/views/DashboardCards.h"
#include "app/views/GuideCard.h"
#include "app/views/GuideView.h"
#include "app/views/MonitorList.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QAccessible>
#include <QLineEdit>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto openDashboard = u"Open dashboard"_s;

/// A window without a slug, whose page answers.
void openGuideCard(ShownWindow& view) {
    QVERIFY(view.world.isPolledAsRunning());
    view.open();
}

QLineEdit* slugField(ShownWindow& view) {
    return visible<QLineEdit>(&view.window);
}

/// The guide over the window, or nullptr.
GuideView* guideOf(const QWidget& window) {
    return window.findChild<GuideView*>();
}

} // namespace

/// The introduction over the window, and the card that leads to the monitors.
class TestGuide : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aSlugFromAssistiveTechnologyIsStored() {
        ShownWindow view;
        openGuideCard(view);
        accessible(slugField(view))->editableTextInterface()->replaceText(0, 0, u"home"_s);
        QCOMPARE(view.world.controller().state().slug, u"home"_s);
    }

    void theGuideIsReadOnce() {
        ShownWindow view;
        view.world.controller().setHasSeenGuide(false);
        view.open();
        QVERIFY(waitUntil([&] { return guideOf(view.window) != nullptr && guideOf(view.window)->isVisible(); }));
        GuideView* const guide = guideOf(view.window);
        QCOMPARE(guide->size(), QSize(440, 320));
        QCOMPARE(guide->windowModality(), Qt::WindowModal);
        QVERIFY(shows(guide, u"A control panel for Uptime Kuma"_s));
        QVERIFY(shows(guide, u"1 of 3"_s));
        QVERIFY(button(guide, u"Next"_s) != nullptr);
        QTest::keyClick(guide, Qt::Key_Return);
        QVERIFY(shows(guide, u"It needs a Docker runtime"_s));
        QVERIFY(shows(guide, u"2 of 3"_s));
        QTest::keyClick(guide, Qt::Key_Return);
        QVERIFY(shows(guide, u"Everything stays on this Mac"_s));
        QVERIFY(shows(guide, u"3 of 3"_s));
        QVERIFY(button(guide, u"Next"_s) == nullptr);
        QVERIFY(!view.world.controller().state().hasSeenGuide);
        QTest::mouseClick(button(guide, u"Get started"_s), Qt::LeftButton);
        QVERIFY(view.world.controller().state().hasSeenGuide);
        drainEvents();
        QVERIFY(guideOf(view.window) == nullptr);

        view.window.hide();
        view.window.show();
        drainEvents();
        QVERIFY(guideOf(view.window) == nullptr);
    }

    void theGuideComesWithNoLaterWindowEither() {
        ShownWindow view;
        view.world.controller().setHasSeenGuide(false);
        view.open();
        QVERIFY(waitUntil([&] { return guideOf(view.window) != nullptr; }));
        guideOf(view.window)->accept();
        view.window.close();
        MainWindow later(ViewContext{view.world.controller(), view.world.desktop, view.world.clock, {}});
        later.show();
        QVERIFY(QTest::qWaitForWindowActive(&later));
        drainEvents();
        QVERIFY(guideOf(later) == nullptr);
    }

    void theGuideDismissedIsSeenToo() {
        ShownWindow view;
        view.world.controller().setHasSeenGuide(false);
        view.open();
        QVERIFY(waitUntil([&] { return guideOf(view.window) != nullptr; }));
        QTest::keyClick(guideOf(view.window), Qt::Key_Escape);
        QVERIFY(view.world.controller().state().hasSeenGuide);
    }

    void theGuideThatGoesWithItsWindowComesAgain() {
        ShownWindow view;
        view.world.controller().setHasSeenGuide(false);
        {
            MainWindow window(
                ViewContext{view.world.controller(), view.world.desktop, view.world.clock, [](const QString&) {}});
            window.show();
            QVERIFY(waitUntil([&] { return guideOf(window) != nullptr; }));
        }
        QVERIFY(!view.world.controller().state().hasSeenGuide);
    }

    void theGuideCardLeadsToAStatusPage() {
        ShownWindow view;
        openGuideCard(view);
        QVERIFY(visible<GuideCard>(&view.window) != nullptr);
        QVERIFY(visible<MonitorList>(&view.window) == nullptr);
        for (const char* line : {"1. Open the dashboard and create the admin account.", "2. Add your monitors.",
                                 "3. Create a status page, choose a slug, and add the monitors to it."}) {
            QVERIFY(shows(&view.window, QString::fromLatin1(line)));
        }
        QCOMPARE(slugField(view)->placeholderText(), u"my-slug"_s);
        QCOMPARE(slugField(view)->width(), 180);
        QAbstractButton* const open = button(visible<GuideCard>(&view.window), openDashboard);
        QTest::mouseClick(open, Qt::LeftButton);
        QCOMPARE(view.world.desktop.opened.size(), 1);
    }

    void whileThePageDoesNotAnswerTheSlugCanStillBeTyped() {
        ShownWindow view;
        view.world.page.answers = false;
        QVERIFY(!view.world.isPolledAsRunning());
        view.open();
        QVERIFY(!button(visible<GuideCard>(&view.window), openDashboard)->isEnabled());
        QTest::keyClicks(slugField(view), u"home"_s);
        QCOMPARE(view.world.controller().state().slug, u"home"_s);
    }

    void theFirstLetterBringsTheMonitorsAndTheOthersAreNotLost() {
        ShownWindow view;
        openGuideCard(view);
        QLineEdit* const field = slugField(view);
        field->setFocus();
        QTest::keyClicks(field, u" "_s);
        view.world.settle();
        QVERIFY(visible<MonitorList>(&view.window) == nullptr);
        QTest::keyClick(field, Qt::Key_Backspace);
        QTest::keyClicks(field, u"h"_s);
        view.world.settle();
        QVERIFY(visible<MonitorList>(&view.window) != nullptr);
        QVERIFY(!shows(&view.window, u"Show my monitors here"_s));
        // A poll in the middle of a word.
        view.world.advance(1500ms);
        QTest::keyClicks(field, u"m"_s);
        view.world.advance(1500ms);
        QCOMPARE(view.window.focusWidget(), field);
        QTest::keyClicks(field, u"e"_s);
        QTest::keyClick(field, Qt::Key_Left);
        QTest::keyClick(field, Qt::Key_Left);
        view.world.advance(1500ms);
        QTest::keyClicks(field, u"o"_s);
        QCOMPARE(view.world.controller().state().slug, u"home"_s);
        QTest::keyClick(field, Qt::Key_Return);
        view.world.settle();
        QVERIFY(visible<GuideCard>(&view.window) == nullptr);
        QCOMPARE(view.world.desktop.opened.size(), 0);
    }

    void aWrongSlugBringsTheWarning() {
        ShownWindow view;
        openGuideCard(view);
        view.world.page.status = StatusPageError{u"Nothing there."_s};
        QTest::keyClicks(slugField(view), u"hoem"_s);
        view.world.advance(3s);
        QVERIFY(visible<StatusErrorCard>(&view.window) != nullptr);
    }
};

ORVANEL_TEST(TestGuide)
#include "TestGuide.moc"
