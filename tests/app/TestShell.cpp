#include "AppFixture.h"
#include "app/AppWindow.h"
#include "standin/desktop/StatusArea.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QApplication>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

int mainWindows() {
    int count = 0;
    for (const QWidget* window : QApplication::topLevelWidgets()) {
        count += qobject_cast<const MainWindow*>(window) != nullptr ? 1 : 0;
    }
    return count;
}

} // namespace

class TestShell : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void launchStartsThePollingAndNothingElse() {
        AppFixture world;
        world.app().start();
        world.settle();
        QVERIFY(world.takeCommands().contains(u"inspect"_s));
        QVERIFY(!world.kuma().isIdle());
        QCOMPARE(mainWindows(), 0);
    }

    void aSecondLaunchStartsNoSecondPolling() {
        AppFixture world;
        AppDelegate second(world.kuma());
        QVERIFY(world.startsWithRunningContainer());
        world.takeCommands();
        second.applicationDidFinishLaunching();
        world.settle();
        QCOMPARE(world.takeCommands(), QStringList());
        world.advance(3s);
        QCOMPARE(world.takeCommands(), QStringList{u"inspect"_s});
    }

    void theLastWindowDoesNotEndTheProgram() {
        AppFixture world;
        const AppDelegate delegate(world.kuma());
        QVERIFY(!delegate.applicationShouldTerminateAfterLastWindowClosed());
        QVERIFY(!QGuiApplication::quitOnLastWindowClosed());
        QVERIFY(!QCoreApplication::isQuitLockEnabled());
    }

    void withoutAPanelTheWindowOpensAfterFiveSeconds() {
        AppFixture world;
        world.app().start();
        world.advance(4999ms);
        QVERIFY(world.mainWindow() == nullptr);
        world.advance(1ms);
        QVERIFY(world.mainWindow() != nullptr);
        QVERIFY(!world.app().statusItem()->hasIcon());
    }

    void theWindowOpensUnaskedOnlyOnce() {
        AppFixture world;
        world.app().start();
        world.advance(5s);
        QVERIFY(world.mainWindow() != nullptr);
        world.mainWindow()->close();
        world.advance(1h);
        QVERIFY(world.mainWindow() == nullptr);
    }

    void aPanelOfTheOldKindWillDo() {
        AppFixture world;
        world.legacyTray.appear();
        world.app().start();
        world.advance(4999ms);
        QVERIFY(!world.app().statusItem()->hasIcon());
        world.advance(1ms);
        QVERIFY(world.app().statusItem()->hasIcon());
        QVERIFY(world.mainWindow() == nullptr);
    }

    void aPanelOfTheOldKindMayComeLater() {
        AppFixture world;
        world.app().start();
        world.advance(1h);
        world.mainWindow()->close();
        world.legacyTray.appear();
        // Panels that know both ways come in this order.
        world.advance(4999ms);
        QVERIFY(!world.app().statusItem()->hasIcon());
        world.advance(1ms);
        QVERIFY(world.app().statusItem()->hasIcon());
        QVERIFY(world.mainWindow() == nullptr);
    }

    void aPanelOfTheOldKindMayGoAgain() {
        AppFixture world;
        world.app().start();
        world.advance(5s);
        world.legacyTray.appear();
        world.legacyTray.goAway();
        world.advance(1h);
        QVERIFY(!world.app().statusItem()->hasIcon());
        world.legacyTray.appear();
        world.advance(5s);
        QVERIFY(world.app().statusItem()->hasIcon());
    }

    void aPanelOfTheOldKindMayBeReplaced() {
        AppFixture world;
        world.legacyTray.appear();
        world.app().start();
        world.advance(5s);
        QVERIFY(world.app().statusItem()->hasIcon());
        world.legacyTray.goAway();
        QVERIFY(!world.app().statusItem()->hasIcon());
        world.legacyTray.appear();
        world.advance(5s);
        QVERIFY(world.app().statusItem()->hasIcon());
    }

    void aListOfIconsThatNobodyShowsDelaysNothing() {
        PrivateBus bus;
        standin::StatusArea area(bus.connect());
        area.setHasHost(false);
        QVERIFY(area.open());
        AppFixture world(bus.connect());
        world.legacyTray.appear();
        world.app().start();
        world.advance(4999ms);
        QVERIFY(!world.app().statusItem()->hasIcon());
        world.advance(1ms);
        QVERIFY(world.app().statusItem()->hasIcon());
        QVERIFY(world.mainWindow() == nullptr);
    }

    void aPanelOfTheNewKindIsPreferred() {
        PrivateBus bus;
        AppFixture world(bus.connect());
        world.app().start();
        world.advance(5s);
        world.legacyTray.appear();
        world.advance(4s);
        QVERIFY(!world.app().statusItem()->hasIcon());
        standin::StatusArea area(bus.connect());
        QVERIFY(area.open());
        QVERIFY(waitUntil([&] { return world.app().statusItem()->hasIcon(); }));
        // The waiting for the old kind is over.
        world.advance(1h);
        QVERIFY(world.app().statusItem()->hasIcon());
    }

    void thereIsOneMainWindow() {
        AppFixture world;
        world.app().openMainWindow();
        QWidget* const window = world.mainWindow();
        world.app().openMainWindow();
        QCOMPARE(world.mainWindow(), window);
        QCOMPARE(mainWindows(), 1);
    }

    void aClosedWindowIsGoneAndComesBackNew() {
        AppFixture world;
        world.app().openMainWindow();
        world.mainWindow()->close();
        QVERIFY(world.mainWindow() == nullptr);
        world.app().openMainWindow();
        QVERIFY(world.mainWindow() != nullptr);
        drainEvents();
        QCOMPARE(mainWindows(), 1);
        QVERIFY(world.mainWindow() != nullptr);
    }

    void theIdleProgramHasNoWindow() {
        AppFixture world;
        QVERIFY(world.startsWithRunningContainer());
        world.app().openMainWindow();
        world.mainWindow()->close();
        world.settle();
        QCOMPARE(QApplication::topLevelWidgets().size(), 0);
    }

    void questionsOpenTheWindow() {
        AppFixture world;
        QVERIFY(world.startsWithRunningContainer());
        world.kuma().removeEverything();
        world.settle();
        QVERIFY(world.mainWindow() != nullptr);
        QWidget* const question = QApplication::activeModalWidget();
        QVERIFY(question != nullptr);
        QCOMPARE(question->parentWidget(), world.mainWindow());
        QCOMPARE(question->windowModality(), Qt::WindowModal);
    }

    void controlQInAQuestionQuits_data() {
        QTest::addColumn<bool>("isGuide");
        QTest::newRow("the guide") << true;
        QTest::newRow("a question") << false;
    }
    void controlQInAQuestionQuits() {
        QFETCH(const bool, isGuide);
        AppFixture world;
        QVERIFY(world.startsWithRunningContainer());
        world.kuma().setHasSeenGuide(!isGuide);
        const auto code = world.runLoop([&] {
            world.app().openMainWindow();
            if (!isGuide) {
                world.kuma().removeEverything();
            }
            QVERIFY(waitUntil([&] { return QApplication::activeModalWidget() != nullptr; }));
            QWidget* const question = QApplication::activeModalWidget();
            QVERIFY(QTest::qWaitForWindowActive(question));
            QTest::keyClick(question, Qt::Key_Q, Qt::ControlModifier);
        });
        QCOMPARE(code, 0);
        // It was not answered.
        QVERIFY(world.docker().container.has_value());
        QCOMPARE(world.kuma().state().hasSeenGuide, !isGuide);
    }
};

ORVANEL_TEST(TestShell)
#include "TestShell.moc"
