#include "ShownLogs.h"
#include "app/AppWindow.h"
#include "support/TestClass.h"

#include <QAccessible>

using namespace orvanel;
using namespace orvanel::test;

class TestLogsView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void itBeginsEmptyAndReadsAtOnce() {
        ShownLogs logs;
        logs.setLog(u"hello\n"_s);
        logs.world.delay("logs", 1s, 1);
        logs.open();
        QCOMPARE(logs.text(), QString());
        QCOMPARE(logs.box().placeholderText(), u"No logs yet."_s);
        QVERIFY(logs.follow().isChecked());
        QCOMPARE(logs.readings(), 1);
        logs.world.advance(1s);
        QCOMPARE(logs.text(), u"hello"_s);
    }

    void itReadsEveryTwoSeconds() {
        ShownLogs logs;
        logs.open();
        QCOMPARE(logs.readings(), 1);
        for (int i = 0; i < 3; ++i) {
            logs.world.advance(1999ms);
            QCOMPARE(logs.readings(), 0);
            logs.world.advance(1ms);
            QCOMPARE(logs.readings(), 1);
        }
    }

    void thePauseBeginsWhenTheReadingHasEnded() {
        ShownLogs logs;
        logs.world.delay("logs", 5s);
        logs.open();
        QCOMPARE(logs.readings(), 1);
        logs.world.advance(6999ms);
        QCOMPARE(logs.readings(), 0);
        logs.world.advance(1ms);
        QCOMPARE(logs.readings(), 1);
    }

    void anEmptyLogSaysSo() {
        ShownLogs logs;
        logs.open();
        QCOMPARE(logs.text(), QString());
        QCOMPARE(accessible(&logs.box())->text(QAccessible::Description), u"No logs yet."_s);
        logs.nextReading(u"hello"_s);
        QCOMPARE(accessible(&logs.box())->text(QAccessible::Description), QString());
        QCOMPARE(accessible(&logs.box())->text(QAccessible::Value), u"hello"_s);
        logs.nextReading({});
        QCOMPARE(logs.text(), QString());
        QCOMPARE(accessible(&logs.box())->text(QAccessible::Description), u"No logs yet."_s);
    }

    void failuresAreTextAsWell() {
        ShownLogs logs;
        logs.world.answer("logs", 1, {});
        logs.open();
        QCOMPARE(logs.text(), u"No logs. The container may not exist yet."_s);
        logs.world.installedDocker = std::nullopt;
        logs.world.controller().recheck();
        logs.world.advance(2s);
        QCOMPARE(logs.text(), u"Docker was not found."_s);
    }

    void withoutFollowItEndsAfterTheCurrentCycle() {
        ShownLogs logs;
        logs.open();
        logs.readings();
        logs.follow().click();
        logs.nextReading(u"last"_s);
        QCOMPARE(logs.readings(), 1);
        QCOMPARE(logs.text(), u"last"_s);
        logs.world.advance(1min);
        QCOMPARE(logs.readings(), 0);
        QCOMPARE(logs.world.clock.pendingTimers(), 0);
    }

    void onceEndedItStaysEnded() {
        ShownLogs logs;
        logs.open();
        logs.follow().click();
        logs.world.advance(2s);
        logs.follow().click();
        QVERIFY(logs.follow().isChecked());
        logs.readings();
        logs.world.advance(1min);
        QCOMPARE(logs.readings(), 0);
        logs.view->hide();
        logs.view->show();
        logs.world.settle();
        QCOMPARE(logs.readings(), 0);
        logs.setLog(u"asked for"_s);
        logs.click(u"Refresh"_s);
        QCOMPARE(logs.text(), u"asked for"_s);
    }

    void offAndOnWithinACycleGoesOn() {
        ShownLogs logs;
        logs.open();
        logs.readings();
        logs.follow().click();
        logs.world.advance(1s);
        logs.follow().click();
        logs.world.advance(3s);
        QCOMPARE(logs.readings(), 2);
    }

    void offDuringAReadingEndsWithIt() {
        ShownLogs logs;
        logs.setLog(u"hello"_s);
        logs.world.delay("logs", 1s, 1);
        logs.open();
        logs.follow().click();
        logs.world.advance(1s);
        QCOMPARE(logs.text(), u"hello"_s);
        logs.readings();
        logs.world.advance(1min);
        QCOMPARE(logs.readings(), 0);
    }

    void refreshReadsAtOnce_data() {
        QTest::addColumn<bool>("isKey");
        QTest::newRow("button") << false;
        QTest::newRow("F5") << true;
    }
    void refreshReadsAtOnce() {
        QFETCH(const bool, isKey);
        ShownLogs logs;
        logs.open();
        logs.readings();
        logs.setLog(u"new"_s);
        if (isKey) {
            logs.press(Qt::Key_F5);
        } else {
            logs.click(u"Refresh"_s);
        }
        QCOMPARE(logs.readings(), 1);
        QCOMPARE(logs.text(), u"new"_s);
    }

    void theReadingThatEndsLastCounts() {
        ShownLogs logs;
        logs.world.answer("logs", 0, u"of the loop"_s, 1, 5s);
        logs.open();
        logs.setLog(u"asked for"_s);
        logs.click(u"Refresh"_s);
        QCOMPARE(logs.text(), u"asked for"_s);
        logs.world.advance(5s);
        QCOMPARE(logs.text(), u"of the loop"_s);
    }

    void closingEndsTheLoop() {
        ShownLogs logs;
        logs.open();
        logs.readings();
        logs.view.reset();
        logs.world.settle();
        QCOMPARE(logs.world.clock.pendingTimers(), 0);
        logs.world.advance(1min);
        QCOMPARE(logs.readings(), 0);
    }

    void readingsUnderWayWhenItClosesEndHarmlessly() {
        ShownLogs logs;
        logs.world.delay("logs", 5s);
        logs.open();
        logs.click(u"Refresh"_s);
        logs.view.reset();
        QCOMPARE(logs.world.underWay().count(logsCommand), 2);
        logs.readings();
        logs.world.advance(1min);
        QCOMPARE(logs.world.underWay(), QStringList());
        QCOMPARE(logs.readings(), 0);
    }

    void aDockerThatHangsHoldsNothingUp() {
        ShownLogs logs;
        logs.setLog(u"asked for"_s);
        logs.world.hang("logs", 1);
        logs.open();
        logs.click(u"Refresh"_s);
        QCOMPARE(logs.text(), u"asked for"_s);
        logs.world.advance(15s);
        QCOMPARE(logs.text(), u"No logs. The container may not exist yet."_s);
        logs.world.advance(2s);
        QCOMPARE(logs.text(), u"asked for"_s);
    }

    void screenReadersAreToldOfEverything() {
        ShownLogs logs;
        logs.open();
        const auto check = [](QWidget* widget, const QString& name, QAccessible::Role role) {
            QVERIFY(widget != nullptr);
            QCOMPARE(accessible(widget)->text(QAccessible::Name), name);
            QCOMPARE(accessible(widget)->role(), role);
        };
        for (const char* name : {"Refresh", "Copy", "Save…"}) {
            const QString text = QString::fromUtf8(name);
            check(button(logs.view.get(), text), text, QAccessible::PushButton);
        }
        check(&logs.follow(), u"Follow"_s, QAccessible::CheckBox);
        QVERIFY(accessible(&logs.follow())->state().checked);
        logs.follow().click();
        QVERIFY(!accessible(&logs.follow())->state().checked);
        check(&logs.box(), u"Logs"_s, QAccessible::EditableText);
        QVERIFY(accessible(&logs.box())->state().readOnly);
    }

    void tabGoesFromLeftToRightAndDown() {
        ShownLogs logs;
        logs.open();
        QStringList reached;
        button(logs.view.get(), u"Refresh"_s)->setFocus();
        for (int i = 0; i < 5; ++i) {
            reached << accessible(logs.view->focusWidget())->text(QAccessible::Name);
            QTest::keyClick(logs.view->focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(reached, (QStringList{u"Refresh"_s, u"Follow"_s, u"Copy"_s, u"Save…"_s, u"Logs"_s}));
    }

    void theSwitchWorksFromTheKeyboard() {
        ShownLogs logs;
        logs.open();
        logs.follow().setFocus();
        QTest::keyClick(&logs.follow(), Qt::Key_Space);
        QVERIFY(!logs.follow().isChecked());
    }

    void windowIsAsItShouldBe() {
        ShownLogs logs;
        const LogsWindow window(logs.world.controller(), logs.world.dialogs, logs.world.clock);
        QCOMPARE(window.windowTitle(), u"Uptime Kuma Logs"_s);
        QCOMPARE(window.minimumSize(), QSize(600, 400));
        QCOMPARE(window.maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
    }
};

ORVANEL_TEST(TestLogsView)
#include "TestLogsView.moc"
