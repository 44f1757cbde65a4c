#include "ShownWindow.h"
#include "app/views/ErrorCard.h"
#include "app/views/GuideCard.h"
#include "app/views/GuideView.h"
#include "app/views/MonitorList.h"
#include "app/views/StateCards.h"
#include "app/widgets/TextField.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QAccessible>
#include <QPushButton>
#include <QScrollArea>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto openDashboard = u"Open dashboard"_s;
const auto start = u"Start Uptime Kuma"_s;
const auto usePort = u"Use port 3002 instead and start"_s;
const auto showDetails = u"Show details"_s;

/// Plays a keyboard: its keys go to whatever has the focus.
void press(ShownWindow& view, Qt::Key key) {
    QWidget* const focused = view.window.focusWidget();
    QTest::keyClick(focused != nullptr ? focused : &view.window, key);
    view.world.settle();
}

/// Sends the repeated presses of a key that is held down.
void hold(QWidget& window, Qt::Key key) {
    for (int i = 0; i < 3; ++i) {
        QKeyEvent repeat(QEvent::KeyPress, key, Qt::NoModifier, u"\r"_s, true);
        QWidget* const focused = window.focusWidget();
        QCoreApplication::sendEvent(focused != nullptr ? focused : &window, &repeat);
    }
}

bool isButtonFocused(const ShownWindow& view) {
    return qobject_cast<QAbstractButton*>(view.window.focusWidget()) != nullptr;
}

void fail(ShownWindow& view) {
    view.world.loginItem.failure = u"why"_s;
    view.world.controller().setLaunchAtLogin(true);
    view.world.settle();
}

/// The texts of what Tab reaches, from the top; a field by its name.
QStringList tabOrder(ShownWindow& view) {
    QStringList reached;
    view.window.findChild<QScrollArea*>()->setFocus();
    const QWidget* const first = view.window.focusWidget();
    for (int i = 0; i < 30; ++i) {
        QTest::keyClick(view.window.focusWidget(), Qt::Key_Tab);
        const QWidget* const focused = view.window.focusWidget();
        if (focused == first) {
            return reached;
        }
        const auto* button = qobject_cast<const QAbstractButton*>(focused);
        reached << (button != nullptr ? button->text() : focused->accessibleName());
    }
    return {};
}

void openWithPortTaken(ShownWindow& view) {
    view.world.listeningPorts = {3001};
    view.open();
    view.poll();
    view.click(start);
    QVERIFY(button(&view.window, usePort) != nullptr);
}

} // namespace

/// Tests with keys that are sent to the widget with the focus.
class TestKeyboard : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aButtonThatGoesGrayLeadsNoKeyToTheNext() {
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        button(&view.window, openDashboard)->setFocus();
        view.world.page.answers = false;
        view.world.advance(3s);
        QVERIFY(!button(&view.window, openDashboard)->isEnabled());
        QVERIFY(!isButtonFocused(view));
        press(view, Qt::Key_Space);
        press(view, Qt::Key_Return);
        QVERIFY(!view.world.controller().state().busy);
    }

    void theButtonForThePortLeadsNoKeyToCancel() {
        ShownWindow view;
        openWithPortTaken(view);
        view.world.delay("info", 5s);
        button(&view.window, usePort)->setFocus();
        press(view, Qt::Key_Return);
        QVERIFY(visible<BusyCard>(&view.window) != nullptr);
        QVERIFY(visible<ErrorCard>(&view.window) == nullptr);
        QVERIFY(!isButtonFocused(view));
        press(view, Qt::Key_Return);
        press(view, Qt::Key_Space);
        view.world.advance(5s);
        QVERIFY(view.world.operationEnds());
        QCOMPARE(view.world.controller().state().kuma, KumaState::running);
    }

    void thePortIsChangedBeforeTheStart() {
        ShownWindow view;
        openWithPortTaken(view);
        KumaController& controller = view.world.controller();
        QList<int> portsWhileBusy;
        connect(&controller, &KumaController::changed, this, [&] {
            if (controller.state().busy) {
                portsWhileBusy << controller.state().port;
            }
        });
        button(&view.window, usePort)->setFocus();
        press(view, Qt::Key_Return);
        controller.disconnect(this);
        QVERIFY(!portsWhileBusy.isEmpty());
        QCOMPARE(portsWhileBusy.first(), 3002);
    }

    void aKeyThatIsHeldDownPressesNothing_data() {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("Return") << Qt::Key_Return;
        QTest::newRow("Enter") << Qt::Key_Enter;
        QTest::newRow("space") << Qt::Key_Space;
    }
    void aKeyThatIsHeldDownPressesNothing() {
        QFETCH(const Qt::Key, key);
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        button(&view.window, openDashboard)->setFocus();
        hold(view.window, key);
        QCOMPARE(view.world.desktop.opened.size(), 0);
        press(view, key);
        QCOMPARE(view.world.desktop.opened.size(), 1);
        hold(view.window, key);
        QCOMPARE(view.world.desktop.opened.size(), 1);
    }

    void theGuideIsNotLeafedThroughByAKeyThatIsHeldDown() {
        GuideView guide(nullptr);
        guide.show();
        QVERIFY(QTest::qWaitForWindowActive(&guide));
        button(&guide, u"Next"_s)->setFocus();
        hold(guide, Qt::Key_Return);
        QVERIFY(shows(&guide, u"1 of 3"_s));
        QTest::keyClick(guide.focusWidget(), Qt::Key_Return);
        hold(guide, Qt::Key_Return);
        QVERIFY(shows(&guide, u"2 of 3"_s));
    }

    /// The order holds even if the card above came later than the error.
    void tabGoesThroughTheWindowAsItReads() {
        ShownWindow view;
        view.open();
        fail(view);
        view.click(showDetails);
        QVERIFY(view.world.isPolledAsRunning());
        const QStringList expected{openDashboard, u"Stop"_s,     u"Restart"_s,  u"Logs"_s,
                                   u"Backup"_s,   u"Settings"_s, openDashboard, u"Status page slug"_s,
                                   u"Dismiss"_s,  showDetails,   u"Details"_s};
        QCOMPARE(tabOrder(view), expected);

        view.click(u"Stop"_s);
        QVERIFY(view.world.operationEnds());
        fail(view);
        QCOMPARE(tabOrder(view), (QStringList{start, u"Settings"_s, u"Backup"_s, u"Dismiss"_s, showDetails}));
    }

    void detailsOpenedLateStandWhereTheyAre() {
        ShownWindow view;
        view.world.docker().daemon = standin::Daemon::down;
        view.open();
        view.poll();
        fail(view);
        view.click(showDetails);
        const QStringList order = tabOrder(view);
        QCOMPARE(order.mid(order.indexOf(showDetails)),
                 (QStringList{showDetails, u"Details"_s, u"Dismiss"_s, showDetails}));
    }

    void aScreenReaderMeetsTheErrorLast() {
        ShownWindow view;
        view.open();
        fail(view);
        QVERIFY(view.world.isPolledAsRunning());
        QAccessibleInterface* const content =
            QAccessible::queryAccessibleInterface(view.window.findChild<QScrollArea*>()->widget());
        QCOMPARE(content->childCount(), 2);
        QCOMPARE(content->child(1)->text(QAccessible::Name), u"Error"_s);
    }

    void withNothingToInstallWithReturnDoesNothing() {
        ShownWindow view;
        view.world.docker().daemon = standin::Daemon::down;
        view.open();
        view.poll();
        QVERIFY(button(&view.window, u"Get Homebrew"_s) != nullptr);
        press(view, Qt::Key_Return);
        QVERIFY(!view.world.controller().state().setupBusy);
        QCOMPARE(view.world.desktop.opened.size(), 0);
    }

    void aSlugThatIsEnteredReplacesTheCardByItself() {
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        auto* const field = visible<TextField>(&view.window);
        field->setFocus();
        // Nothing was entered, so the card waits as long as the user needs.
        view.world.advance(10s);
        QCOMPARE(view.window.focusWidget(), field);
        press(view, Qt::Key_H);
        view.world.advance(1900ms);
        press(view, Qt::Key_M);
        view.world.advance(1900ms);
        press(view, Qt::Key_Left);
        view.world.advance(1900ms);
        press(view, Qt::Key_O);
        QCOMPARE(view.window.focusWidget(), field);
        QCOMPARE(view.world.controller().state().slug, u"hom"_s);
        view.world.advance(2s);
        QVERIFY(visible<GuideCard>(&view.window) == nullptr);
        QVERIFY(visible<MonitorList>(&view.window) != nullptr);
        QVERIFY(!isButtonFocused(view));
    }

    void returnEndsTheTypingAtOnce() {
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        fail(view);
        visible<TextField>(&view.window)->setFocus();
        press(view, Qt::Key_H);
        press(view, Qt::Key_Return);
        QVERIFY(visible<GuideCard>(&view.window) == nullptr);
        QVERIFY(!isButtonFocused(view));
        QCOMPARE(view.world.desktop.opened.size(), 0);
    }

    /// The user looks something up in the browser, or pastes from the field's menu.
    void typingWaitsWhileTheFieldIsLeftForAWhile_data() {
        QTest::addColumn<Qt::FocusReason>("reason");
        QTest::newRow("another window") << Qt::ActiveWindowFocusReason;
        QTest::newRow("a menu") << Qt::PopupFocusReason;
    }

    void typingWaitsWhileTheFieldIsLeftForAWhile() {
        QFETCH(const Qt::FocusReason, reason);
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        auto* const field = visible<TextField>(&view.window);
        field->setFocus();
        press(view, Qt::Key_H);
        QFocusEvent leaves(QEvent::FocusOut, reason);
        QCoreApplication::sendEvent(field, &leaves);
        view.world.advance(60s);
        QVERIFY(visible<GuideCard>(&view.window) != nullptr);
        QFocusEvent returns(QEvent::FocusIn, reason);
        QCoreApplication::sendEvent(field, &returns);
        view.world.advance(1900ms);
        press(view, Qt::Key_O);
        QCOMPARE(view.world.controller().state().slug, u"ho"_s);
        view.world.advance(2s);
        QVERIFY(visible<GuideCard>(&view.window) == nullptr);
    }

    void typingWaitsForATextInTheMaking() {
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        auto* const field = visible<TextField>(&view.window);
        field->setFocus();
        press(view, Qt::Key_H);
        view.world.advance(1900ms);
        // The keys go to the input method; the field sees only the text that they compose.
        QInputMethodEvent inTheMaking(u"ö"_s, {});
        QCoreApplication::sendEvent(field, &inTheMaking);
        view.world.advance(10s);
        QVERIFY(visible<GuideCard>(&view.window) != nullptr);
        QInputMethodEvent made;
        made.setCommitString(u"o"_s);
        QCoreApplication::sendEvent(field, &made);
        QCOMPARE(view.world.controller().state().slug, u"ho"_s);
        view.world.advance(1900ms);
        QVERIFY(visible<GuideCard>(&view.window) != nullptr);
        view.world.advance(100ms);
        QVERIFY(visible<GuideCard>(&view.window) == nullptr);
    }

    void anotherFocusEndsTheTypingAtOnce() {
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        visible<TextField>(&view.window)->setFocus();
        press(view, Qt::Key_H);
        QVERIFY(visible<GuideCard>(&view.window) != nullptr);
        button(&view.window, u"Stop"_s)->setFocus();
        view.world.settle();
        QVERIFY(visible<GuideCard>(&view.window) == nullptr);
        QVERIFY(button(&view.window, u"Stop"_s)->hasFocus());
    }
};

ORVANEL_TEST(TestKeyboard)
#include "TestKeyboard.moc"
