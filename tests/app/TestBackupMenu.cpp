#include "ShownWindow.h"
#include "app/views/StateCards.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QAccessible>
#include <QApplication>
#include <QMenu>
#include <QPointer>
#include <QTest>
#include <QThread>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

/// Closes a menu that blocks the program while it is open, so that the test does not wait for ever.
struct MenuCloser final : QObject {
    MenuCloser() { startTimer(0); }

protected:
    void timerEvent(QTimerEvent*) override {
        if (QThread::currentThread()->loopLevel() > 0 && QApplication::activePopupWidget() != nullptr) {
            QApplication::activePopupWidget()->close();
        }
    }
};

QAbstractButton* backupButton(const ShownWindow& view) {
    return button(&view.window, u"Backup"_s);
}

} // namespace

/// The backup menu of the dashboard and of the start card.
class TestBackupMenu : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theStartCardHasItToo() {
        ShownWindow view;
        view.open();
        view.poll();
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
        QAbstractButton* const backup = backupButton(view);
        QVERIFY(backup != nullptr);
        QVERIFY(backup->x() > button(&view.window, u"Settings"_s)->x());
        QStringList entries;
        for (const QAction* entry : backup->findChild<QMenu*>()->actions()) {
            entries << entry->text();
        }
        QCOMPARE(entries, (QStringList{u"Back up now…"_s, u"Restore…"_s}));
        backup->findChild<QMenu*>()->actions().at(1)->trigger();
        view.world.settle();
        QCOMPARE(view.world.dialogs.pathQuestions.size(), 1);
    }

    void itOpensByKey_data() {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("Return") << Qt::Key_Return;
        QTest::newRow("space") << Qt::Key_Space;
    }
    void itOpensByKey() {
        QFETCH(const Qt::Key, key);
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        QAbstractButton* const backup = backupButton(view);
        backup->setFocus();
        const MenuCloser closer;
        QTest::keyClick(backup, key);
        auto* const menu = backup->findChild<QMenu*>();
        QVERIFY(menu->isVisible());
        QVERIFY(backup->isDown());
        QKeyEvent repeat(QEvent::KeyPress, key, Qt::NoModifier, u"\r"_s, true);
        QCoreApplication::sendEvent(menu, &repeat);
        QVERIFY(menu->isVisible() && menu->activeAction() == nullptr);
        QTest::keyClick(menu, Qt::Key_Down);
        QTest::keyClick(menu, Qt::Key_Return);
        view.world.settle();
        QVERIFY(!menu->isVisible());
        QVERIFY(!backup->isDown());
        QCOMPARE(view.world.dialogs.pathQuestions.size(), 1);
        view.world.dialogs.answerAll(false);
    }

    void itClosesByTheButtonToo() {
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        QAbstractButton* const backup = backupButton(view);
        const MenuCloser closer;
        QTest::mouseClick(backup, Qt::LeftButton);
        auto* const menu = backup->findChild<QMenu*>();
        QVERIFY(menu->isVisible());
        // An open menu gets all clicks, wherever they are.
        QTest::mousePress(menu, Qt::LeftButton, {}, menu->mapFromGlobal(backup->mapToGlobal(QPoint(5, 5))));
        QVERIFY(!menu->isVisible());
        QVERIFY2(menu->testAttribute(Qt::WA_NoMouseReplay), "it would open again");
    }

    void aCardThatGoesTakesItsOpenMenuAlong() {
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        QAbstractButton* const backup = backupButton(view);
        const MenuCloser closer;
        QTest::mouseClick(backup, Qt::LeftButton);
        const QPointer<QMenu> menu = backup->findChild<QMenu*>();
        QVERIFY(menu->isVisible());
        view.world.removeContainer();
        view.world.advance(3s);
        QVERIFY(visible<StartCard>(&view.window) != nullptr);
        QVERIFY(QApplication::activePopupWidget() == nullptr);
        drainEvents();
        QVERIFY(menu.isNull());
        view.world.takeCommands();
        QTest::keyClick(&view.window, Qt::Key_Return);
        view.world.settle();
        QVERIFY(view.world.takeCommands().contains(u"compose up"_s));
    }

    void aScreenReaderOpensIt() {
        ShownWindow view;
        QVERIFY(view.world.isPolledAsRunning());
        view.open();
        QAbstractButton* const backup = backupButton(view);
        QAccessibleInterface* const face = QAccessible::queryAccessibleInterface(backup);
        QCOMPARE(face->role(), QAccessible::ButtonMenu);
        QCOMPARE(face->text(QAccessible::Name), u"Backup"_s);
        QVERIFY(face->state().hasPopup);
        QAccessibleActionInterface* const actions = face->actionInterface();
        const MenuCloser closer;
        actions->doAction(actions->actionNames().value(0));
        QVERIFY(backup->findChild<QMenu*>()->isVisible());
    }
};

ORVANEL_TEST(TestBackupMenu)
#include "TestBackupMenu.moc"
