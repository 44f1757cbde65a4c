#include "AppFixture.h"
#include "Find.h"
#include "app/AppWindow.h"
#include "app/views/LogsView.h"
#include "app/widgets/Switch.h"
#include "app/widgets/TextBox.h"
#include "platform/SettingsStore.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QScreen>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

template <class Window>
int count() {
    int number = 0;
    for (const QWidget* window : QApplication::topLevelWidgets()) {
        number += qobject_cast<const Window*>(window) != nullptr ? 1 : 0;
    }
    return number;
}

/// The size and place that the settings keep of a window.
QString placeOf(const QRect& there) {
    QWidget window;
    window.setGeometry(there);
    return QString::fromLatin1(window.saveGeometry().toBase64());
}

/// A program that runs, with its main window open.
struct Running : AppFixture {
    void open() {
        QVERIFY(startsWithRunningContainer());
        app().openMainWindow();
        settle();
    }
    /// Presses the button of the main window that opens another, which is in front then.
    QWidget* press(const QString& text, const QString& id) {
        QAbstractButton* const found = button(mainWindow(), text);
        if (found == nullptr) {
            return nullptr;
        }
        found->click();
        settle();
        QWidget* const window = app().window(id);
        const bool isInFront = window != nullptr && waitUntil([window] { return window->isActiveWindow(); });
        return isInFront ? window : nullptr;
    }
    QWidget* openLogs() { return press(u"Logs"_s, windowId::logs()); }
    QWidget* openSettings() { return press(u"Settings"_s, windowId::settings()); }
    bool bringForward(QWidget* window) {
        window->activateWindow();
        return waitUntil([window] { return window->isActiveWindow(); });
    }
};

QLineEdit* portField(const QWidget* settings) {
    for (QLineEdit* field : settings->findChildren<QLineEdit*>()) {
        if (field->accessibleName() == u"Port"_s) {
            return field;
        }
    }
    return nullptr;
}

void typePort(QLineEdit* field, const QString& text) {
    field->setFocus();
    field->selectAll();
    QTest::keyClick(field, Qt::Key_Delete);
    QTest::keyClicks(field, text);
}

} // namespace

/// The windows "logs" and "settings" in the whole program.
class TestPaneWindows : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void askingAgainBringsTheOpenOneForward() {
        Running world;
        world.open();
        QWidget* const logs = world.openLogs();
        QVERIFY(logs != nullptr);
        QWidget* const settings = world.openSettings();
        QVERIFY(settings != nullptr);
        QCOMPARE(world.openLogs(), logs);
        QCOMPARE(world.openSettings(), settings);
        QCOMPARE(count<LogsWindow>(), 1);
        QCOMPARE(count<SettingsWindow>(), 1);
    }

    void escapeClosesThem() {
        Running world;
        world.open();
        for (QWidget* const window : {world.openLogs(), world.openSettings()}) {
            QTest::keyClick(window->focusWidget() != nullptr ? window->focusWidget() : window, Qt::Key_Escape);
            QVERIFY(!window->isVisible());
            world.settle();
        }
        QTest::keyClick(world.mainWindow(), Qt::Key_Escape);
        QVERIFY(world.mainWindow()->isVisible());
    }

    void escapeInAnEditedPortOnlyForgetsIt() {
        Running world;
        world.open();
        QWidget* const settings = world.openSettings();
        QLineEdit* const port = portField(settings);
        typePort(port, u"3005"_s);
        QTest::keyClick(port, Qt::Key_Escape);
        QCOMPARE(port->text(), u"3001"_s);
        QCOMPARE(world.kuma().state().port, 3001);
        QVERIFY(settings->isVisible());
        QTest::keyClick(port, Qt::Key_Escape);
        QVERIFY(!settings->isVisible());
    }

    void closedWindowsAreDestroyedAndComeBackNew() {
        Running world;
        world.open();
        world.docker().log = "first\n";
        const QPointer<QWidget> logs = world.openLogs();
        QCOMPARE(logs->findChild<TextBox*>()->content(), u"first\n"_s);
        logs->findChild<Switch*>()->click();
        QTest::keyClick(logs, Qt::Key_W, Qt::ControlModifier);
        world.settle();
        QVERIFY(logs.isNull());
        QVERIFY(world.app().window(windowId::logs()) == nullptr);

        world.delay("logs", 1s, 1);
        QWidget* const again = world.openLogs();
        QVERIFY(again != nullptr);
        QCOMPARE(again->findChild<TextBox*>()->content(), QString());
        QVERIFY(again->findChild<Switch*>()->isChecked());
        world.advance(1s);
        QCOMPARE(again->findChild<TextBox*>()->content(), u"first\n"_s);
    }

    void windowsComeBackWhereTheyWere() {
        Running world;
        world.open();
        const QRect there(41, 52, 653, 444);
        world.openLogs()->setGeometry(there);
        world.mainWindow()->showMaximized();
        world.settle();
        world.app().window(windowId::logs())->close();
        world.mainWindow()->close();
        world.settle();

        world.app().openMainWindow();
        QVERIFY(world.mainWindow()->isMaximized());
        QCOMPARE(world.openLogs()->geometry(), there);
    }

    /// Values that a user wrote into the settings by hand, or that come from a screen that is gone.
    void placesThatMakeNoSenseAreForgotten_data() {
        QTest::addColumn<QString>("kept");
        QTest::newRow("no place") << u"here"_s;
        QTest::newRow("cut") << placeOf(QRect(10, 10, 700, 500)).left(20);
        QTest::newRow("far away") << placeOf(QRect(90'000, 90'000, 760, 520));
        QTest::newRow("too small") << placeOf(QRect(10, 10, 1, 1));
    }
    void placesThatMakeNoSenseAreForgotten() {
        QFETCH(const QString, kept);
        Running world;
        QVERIFY(SettingsStore(world.settingsFile).setText(u"logsWindow"_s, kept));
        world.open();
        const QWidget* const logs = world.openLogs();
        QVERIFY(logs->screen()->availableGeometry().intersects(logs->frameGeometry()));
        QVERIFY(logs->width() >= 600 && logs->height() >= 400);
    }

    void aClosedLogsWindowReadsNoMore() {
        Running world;
        world.open();
        world.openLogs()->close();
        world.settle();
        world.takeCommands();
        world.advance(1min);
        QVERIFY(!world.takeCommands().contains(u"logs"_s));
    }

    void logsAreFollowedWhileAnotherWindowIsInFront() {
        Running world;
        world.open();
        QWidget* const logs = world.openLogs();
        QVERIFY(world.openSettings() != nullptr);
        world.docker().log = "later\n";
        world.advance(2s);
        QCOMPARE(logs->findChild<TextBox*>()->content(), u"later\n"_s);
    }

    void theProgramStaysWhenTheyClose() {
        Running world;
        world.open();
        world.openLogs()->close();
        world.openSettings()->close();
        world.mainWindow()->close();
        world.settle();
        QCOMPARE(QApplication::topLevelWidgets().size(), 0);
        QVERIFY(!world.kuma().isIdle());
    }

    void questionsAreAskedWhereTheUserIs() {
        Running world;
        world.open();
        QWidget* const settings = world.openSettings();
        button(settings, u"Remove everything…"_s)->click();
        world.settle();
        auto* question = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        QVERIFY(question != nullptr);
        QCOMPARE(question->parentWidget(), settings);
        QCOMPARE(question->text(), u"Remove everything?"_s);
        QTest::keyClick(question, Qt::Key_Escape);
        world.settle();
        QVERIFY(!world.kuma().state().busy);
        QVERIFY(settings->isVisible());
    }

    void logsAreSavedOverTheirWindow() {
        Running world;
        world.open();
        world.docker().log = "new\n";
        QWidget* const logs = world.openLogs();
        button(logs, u"Save…"_s)->setFocus();
        QTest::keyClick(logs->focusWidget(), Qt::Key_Return);
        world.settle();
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        QVERIFY(dialog != nullptr);
        QCOMPARE(dialog->parentWidget(), logs);
        QVERIFY(dialog->selectedFiles().value(0).endsWith(u"/uptime-kuma-logs.txt"_s));
        QTest::keyClick(dialog, Qt::Key_Escape);
        world.settle();
        QVERIFY(logs->isVisible());
        QVERIFY(logs->findChild<QFileDialog*>() == nullptr);
    }

    void theLogsWindowGoesWhileATakenNameIsInQuestion() {
        Running world;
        world.open();
        world.docker().log = "new\n";
        const QPointer<QWidget> logs = world.openLogs();
        const QString taken = world.home.write(u"uptime-kuma-logs.txt"_s, "old");
        button(logs, u"Save…"_s)->click();
        world.settle();
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        QVERIFY(dialog != nullptr);
        dialog->setDirectory(QFileInfo(taken).path());
        dialog->selectFile(taken);
        QTest::keyClick(dialog, Qt::Key_Return);
        world.settle();
        const auto* question = qobject_cast<const QMessageBox*>(QApplication::activeModalWidget());
        QVERIFY(question != nullptr);
        QCOMPARE(question->parentWidget(), logs);
        logs->close();
        world.settle();
        QVERIFY(logs.isNull());
        // The question is gone, over this window and over every other.
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        QCOMPARE(count<QDialog>(), 0);
        QVERIFY(world.mainWindow()->isVisible());
        QFile file(taken);
        QVERIFY(file.open(QFile::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("old"));
        QVERIFY(world.openLogs() != nullptr);
    }

    void dockerIsChosenOverTheSettings() {
        Running world;
        world.open();
        QWidget* const settings = world.openSettings();
        button(settings, u"Choose…"_s)->setFocus();
        QTest::keyClick(settings->focusWidget(), Qt::Key_Return);
        world.settle();
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        QVERIFY(dialog != nullptr);
        QCOMPARE(dialog->parentWidget(), settings);
        QCOMPARE(dialog->fileMode(), QFileDialog::ExistingFile);
        QTest::keyClick(dialog, Qt::Key_Escape);
        world.settle();
        QVERIFY(settings->isVisible());
        QCOMPARE(world.kuma().state().dockerOverride, QString());
    }

    /// The server may have been started on it meanwhile.
    void aPortIsAgreedWhenAnotherWindowComesForward() {
        Running world;
        world.open();
        QWidget* const settings = world.openSettings();
        QLineEdit* const port = portField(settings);
        typePort(port, u"3005"_s);
        QVERIFY(world.bringForward(world.mainWindow()));
        QVERIFY(world.bringForward(settings));
        QVERIFY(port->hasFocus());
        typePort(port, u"x"_s);
        QCOMPARE(world.kuma().state().port, 3005);
        QTest::keyClick(port, Qt::Key_Escape);
        QCOMPARE(world.kuma().state().port, 3005);
        QCOMPARE(port->text(), u"3005"_s);
    }

    void anUnfinishedPortIsNoneWhenAnotherWindowComesForward() {
        Running world;
        world.open();
        QWidget* const settings = world.openSettings();
        QLineEdit* const port = portField(settings);
        typePort(port, u"30"_s);
        QVERIFY(world.bringForward(world.mainWindow()));
        QCOMPARE(world.kuma().state().port, 3001);
        QVERIFY(world.bringForward(settings));
        // The focus is still in the field.
        QCOMPARE(port->text(), u"30"_s);
        QVERIFY(port->hasFocus());
        QTest::keyClicks(port, u"07"_s);
        QCOMPARE(world.kuma().state().port, 3007);
    }

    void anUnfinishedPortIsForgottenWithItsWindow() {
        Running world;
        world.open();
        QWidget* const settings = world.openSettings();
        typePort(portField(settings), u"30"_s);
        settings->close();
        world.settle();
        QCOMPARE(world.kuma().state().port, 3001);
        QCOMPARE(portField(world.openSettings())->text(), u"3001"_s);
    }

    void theLoginItemIsLookedAtWhenTheSettingsComeBack() {
        Running world;
        world.open();
        QWidget* const settings = world.openSettings();
        QVERIFY(world.bringForward(world.mainWindow()));
        world.loginItem.enabled = true;
        QVERIFY(world.bringForward(settings));
        auto* launch = visibleWith<Switch>(settings, u"Launch at login"_s);
        QVERIFY(waitUntil([launch] { return launch->isChecked(); }));
    }

    void closingTheSettingsAnswersTheirQuestion() {
        Running world;
        world.open();
        QWidget* const settings = world.openSettings();
        button(settings, u"Remove everything…"_s)->click();
        world.settle();
        QVERIFY(QApplication::activeModalWidget() != nullptr);
        settings->close();
        world.settle();
        QVERIFY(QApplication::activeModalWidget() == nullptr);
        QVERIFY(!world.kuma().state().busy);
    }
};

ORVANEL_TEST(TestPaneWindows)
#include "TestPaneWindows.moc"
