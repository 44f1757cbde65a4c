#include "ControllerFixture.h"
#include "Find.h"
#include "app/LogsWindow.h"
#include "app/views/LogsView.h"
#include "app/widgets/Switch.h"
#include "app/widgets/TextBox.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QTextDocumentFragment>
#include <QThreadPool>
#include <QWindow>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto logsCommand = u"logs"_s;

/// The logs of a container in a world where a test plays Docker.
struct Shown {
    Shown() {
        standin::addContainer(world.docker(), "running", 3001);
        world.controller().recheck();
        world.settle();
        world.takeCommands();
    }
    ~Shown() {
        view.reset();
        // What the view had under way uses the world.
        const bool ended = world.operationEnds();
        Q_ASSERT(ended);
    }
    Shown(const Shown&) = delete;
    Shown& operator=(const Shown&) = delete;

    ControllerFixture world;
    std::unique_ptr<LogsView> view;

    void open() {
        view = std::make_unique<LogsView>(LogsView::Surroundings{world.controller(), world.dialogs, world.clock});
        view->resize(600, 400);
        view->show();
        QVERIFY(QTest::qWaitForWindowActive(view.get()));
        world.settle();
    }
    void setLog(const QString& text) { world.docker().log = text.toStdString(); }
    /// The next reading of the loop.
    void nextReading(const QString& text) {
        setLog(text);
        world.advance(2s);
    }
    void click(const QString& text) {
        QTest::mouseClick(button(view.get(), text), Qt::LeftButton);
        world.settle();
    }
    void press(const QKeySequence& keys) {
        QTest::keySequence(view.get(), keys);
        world.settle();
    }
    TextBox& box() const { return *view->findChild<TextBox*>(); }
    QScrollBar& bar() const { return *box().verticalScrollBar(); }
    QString text() const { return box().toPlainText(); }
    Switch& follow() const { return *view->findChild<Switch*>(); }
    qsizetype readings() { return world.takeCommands().count(logsCommand); }
    bool isAtEnd() const { return bar().value() == bar().maximum(); }
    QString firstVisibleLine() const { return box().cursorForPosition(QPoint(1, 1)).block().text(); }
};

QString lines(int first, int count) {
    QString text;
    for (int i = first; i < first + count; ++i) {
        text += u"2026-11-21 line %1\n"_s.arg(i);
    }
    return text;
}

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class TestLogsView : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void itBeginsEmptyAndReadsAtOnce() {
        Shown logs;
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
        Shown logs;
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
        Shown logs;
        logs.world.delay("logs", 5s);
        logs.open();
        QCOMPARE(logs.readings(), 1);
        logs.world.advance(6999ms);
        QCOMPARE(logs.readings(), 0);
        logs.world.advance(1ms);
        QCOMPARE(logs.readings(), 1);
    }

    void anEmptyLogSaysSo() {
        Shown logs;
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
        Shown logs;
        logs.world.answer("logs", 1, {});
        logs.open();
        QCOMPARE(logs.text(), u"No logs. The container may not exist yet."_s);
        logs.world.installedDocker = std::nullopt;
        logs.world.controller().recheck();
        logs.world.advance(2s);
        QCOMPARE(logs.text(), u"Docker was not found."_s);
    }

    void withoutFollowItEndsAfterTheCurrentCycle() {
        Shown logs;
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
        Shown logs;
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
        Shown logs;
        logs.open();
        logs.readings();
        logs.follow().click();
        logs.world.advance(1s);
        logs.follow().click();
        logs.world.advance(3s);
        QCOMPARE(logs.readings(), 2);
    }

    void offDuringAReadingEndsWithIt() {
        Shown logs;
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
        Shown logs;
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
        Shown logs;
        logs.world.answer("logs", 0, u"of the loop"_s, 1, 5s);
        logs.open();
        logs.setLog(u"asked for"_s);
        logs.click(u"Refresh"_s);
        QCOMPARE(logs.text(), u"asked for"_s);
        logs.world.advance(5s);
        QCOMPARE(logs.text(), u"of the loop"_s);
    }

    void closingEndsTheLoop() {
        Shown logs;
        logs.open();
        logs.readings();
        logs.view.reset();
        logs.world.settle();
        QCOMPARE(logs.world.clock.pendingTimers(), 0);
        logs.world.advance(1min);
        QCOMPARE(logs.readings(), 0);
    }

    void readingsUnderWayWhenItClosesEndHarmlessly() {
        Shown logs;
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
        Shown logs;
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

    void theSameTextChangesNothing() {
        Shown logs;
        logs.setLog(lines(0, 100));
        logs.open();
        const QSignalSpy changes(&logs.box(), &QPlainTextEdit::textChanged);
        logs.bar().setValue(3);
        logs.world.advance(10s);
        QCOMPARE(changes.size(), 0);
        // Not even to the end, since nothing is new there.
        QCOMPARE(logs.bar().value(), 3);
    }

    void followKeepsTheEndInView() {
        Shown logs;
        logs.setLog(lines(0, 100));
        logs.open();
        QVERIFY(logs.bar().maximum() > 0);
        QVERIFY(logs.isAtEnd());
        logs.bar().setValue(0);
        logs.nextReading(lines(0, 101));
        QVERIFY(logs.isAtEnd());
        logs.view->resize(600, 300);
        drainEvents();
        QVERIFY(logs.isAtEnd());
    }

    void withoutFollowThePlaceStays_data() {
        QTest::addColumn<QString>("next");
        QTest::newRow("more lines") << lines(0, 300);
        QTest::newRow("as many lines") << lines(40, 250);
        QTest::newRow("another last line") << lines(40, 200) + u"other\n"_s;
    }
    void withoutFollowThePlaceStays() {
        QFETCH(const QString, next);
        Shown logs;
        logs.setLog(lines(0, 250));
        logs.open();
        logs.follow().click();
        logs.bar().setValue(120);
        const QString top = logs.firstVisibleLine();
        QCOMPARE(top, u"2026-11-21 line 120"_s);
        logs.nextReading(next);
        QCOMPARE(logs.text() + u'\n', next);
        QCOMPARE(logs.firstVisibleLine(), top);
    }

    void withoutFollowThePlaceStaysAmongWrappedLines() {
        const auto wide = [](int first) { return lines(first, 300).replace(u" line"_s, QString(500, u'x')); };
        Shown logs;
        logs.setLog(wide(0));
        logs.open();
        logs.follow().click();
        QVERIFY(logs.isAtEnd());
        logs.bar().setValue(logs.bar().maximum() / 2);
        const QString top = logs.firstVisibleLine();
        const QImage before = logs.box().grab().toImage();
        logs.nextReading(wide(7));
        QCOMPARE(logs.firstVisibleLine(), top);
        const QRect withoutBar = logs.box().viewport()->geometry();
        QCOMPARE(logs.box().grab().toImage().copy(withoutBar), before.copy(withoutBar));
    }

    void aPlaceThatIsGoneIsTheBeginning() {
        Shown logs;
        logs.setLog(lines(0, 300));
        logs.open();
        logs.follow().click();
        logs.bar().setValue(10);
        logs.nextReading(lines(40, 300));
        QCOMPARE(logs.bar().value(), 0);
    }

    void theSelectionStays_data() {
        QTest::addColumn<bool>("follows");
        QTest::newRow("following") << true;
        QTest::newRow("not following") << false;
    }
    void theSelectionStays() {
        QFETCH(const bool, follows);
        Shown logs;
        logs.setLog(lines(0, 300));
        logs.open();
        logs.follow().setChecked(follows);
        const QTextCursor cursor = logs.box().document()->find(u"line 250"_s);
        QVERIFY(cursor.hasSelection());
        logs.box().setTextCursor(cursor);
        logs.nextReading(lines(40, 300));
        QCOMPARE(logs.box().textCursor().selectedText(), u"line 250"_s);
        QCOMPARE(logs.isAtEnd(), follows);
    }

    void aSelectionOfEverythingDoesNotGrow() {
        Shown logs;
        logs.setLog(u"a\nb\n"_s);
        logs.open();
        logs.box().selectAll();
        logs.nextReading(u"a\nb\nc\n"_s);
        QCOMPARE(logs.box().textCursor().selection().toPlainText(), u"a\nb"_s);
    }

    void whatTheMouseSelectsStaysMeanwhile_data() {
        QTest::addColumn<int>("first");
        QTest::addColumn<int>("count");
        QTest::newRow("more") << 0 << 12;
        QTest::newRow("moved on") << 2 << 12;
    }
    void whatTheMouseSelectsStaysMeanwhile() {
        QFETCH(const int, first);
        QFETCH(const int, count);
        Shown logs;
        logs.setLog(lines(0, 10));
        logs.open();
        QWindow* const window = logs.view->windowHandle();
        // Where the line begins, in the window.
        const auto place = [&logs](const QString& line) {
            const QTextCursor found = logs.box().document()->find(line);
            const QTextCursor start(found.block());
            return logs.box().viewport()->mapTo(logs.view.get(), logs.box().cursorRect(start).center());
        };
        QTest::mousePress(window, Qt::LeftButton, {}, place(u"line 3"_s));
        QTest::mouseMove(window, place(u"line 5"_s));
        QCOMPARE(logs.box().textCursor().selection().toPlainText(), lines(3, 2));
        logs.nextReading(lines(first, count));
        QCOMPARE(logs.box().textCursor().selection().toPlainText(), lines(3, 2));
        QTest::mouseMove(window, place(u"line 8"_s));
        QTest::mouseRelease(window, Qt::LeftButton, {}, place(u"line 8"_s));
        QCOMPARE(logs.box().textCursor().selection().toPlainText(), lines(3, 5));
    }

    void copyTakesEverything_data() {
        QTest::addColumn<bool>("isKey");
        QTest::addColumn<QString>("log");
        QTest::newRow("button") << false << lines(0, 300);
        QTest::newRow("key") << true << lines(0, 300);
        QTest::newRow("empty") << false << QString();
    }
    void copyTakesEverything() {
        QFETCH(const bool, isKey);
        QFETCH(const QString, log);
        QGuiApplication::clipboard()->setText(u"before"_s);
        Shown logs;
        logs.setLog(log);
        logs.open();
        if (isKey) {
            logs.press(QKeySequence::Copy);
        } else {
            logs.click(u"Copy"_s);
        }
        QCOMPARE(QGuiApplication::clipboard()->text(), log);
    }

    void withASelectionTheKeyCopiesThat() {
        Shown logs;
        logs.setLog(u"one two\nthree\n"_s);
        logs.open();
        logs.box().setFocus();
        logs.press(QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"one two\nthree\n"_s);
        logs.box().setTextCursor(logs.box().document()->find(u"two"_s));
        QTest::keySequence(&logs.box(), QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"two"_s);
        logs.click(u"Copy"_s);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"one two\nthree\n"_s);
    }

    void saveWritesEverything_data() {
        QTest::addColumn<bool>("isKey");
        QTest::newRow("button") << false;
        QTest::newRow("key") << true;
    }
    void saveWritesEverything() {
        QFETCH(const bool, isKey);
        Shown logs;
        logs.setLog(u"günstig 😀\n"_s);
        logs.open();
        if (isKey) {
            logs.press(QKeySequence::Save);
        } else {
            logs.click(u"Save…"_s);
        }
        QCOMPARE(logs.world.dialogs.savePanels.size(), 1);
        QCOMPARE(logs.world.dialogs.savePanels[0].proposedName, u"uptime-kuma-logs.txt"_s);
        const QString path = logs.world.home.write(u"logs.txt"_s, "a longer text that was there before");
        logs.world.dialogs.pathQuestions[0].answer.complete(path);
        QVERIFY(waitUntil([&] { return contentOf(path) == u"günstig 😀\n"_s.toUtf8(); }));
        // The temporary file has taken the place of the other.
        QCOMPARE(QDir(logs.world.home.path()).entryList({u"logs*"_s}, QDir::Files).size(), 1);
    }

    void whatIsThereWhenTheFileIsChosenIsSaved() {
        Shown logs;
        logs.open();
        logs.click(u"Save…"_s);
        logs.nextReading(u"later\n"_s);
        const QString path = logs.world.home.path(u"logs.txt"_s);
        logs.world.dialogs.pathQuestions[0].answer.complete(path);
        QVERIFY(waitUntil([&] { return contentOf(path) == "later\n"; }));
    }

    void cancellingWritesNothing() {
        Shown logs;
        logs.setLog(u"hello"_s);
        logs.open();
        logs.click(u"Save…"_s);
        logs.world.dialogs.pathQuestions[0].answer.complete(std::nullopt);
        logs.world.settle();
        QThreadPool::globalInstance()->waitForDone();
        QCOMPARE(QDir(logs.world.home.path()).entryList(QDir::Files), QStringList());
    }

    void aFailedSaveIsNotTold() {
        Shown logs;
        logs.setLog(u"hello"_s);
        logs.open();
        logs.click(u"Save…"_s);
        logs.world.dialogs.pathQuestions[0].answer.complete(logs.world.home.path(u"not/there.txt"_s));
        logs.world.settle();
        QThreadPool::globalInstance()->waitForDone();
        QVERIFY(!QFile::exists(logs.world.home.path(u"not"_s)));
        QVERIFY(!logs.world.controller().state().error);
    }

    void closingDuringTheQuestionWritesNothing() {
        Shown logs;
        logs.setLog(u"hello"_s);
        logs.open();
        logs.click(u"Save…"_s);
        logs.view.reset();
        const QString path = logs.world.home.path(u"logs.txt"_s);
        logs.world.dialogs.pathQuestions[0].answer.complete(path);
        logs.world.settle();
        QThreadPool::globalInstance()->waitForDone();
        QVERIFY(!QFile::exists(path));
    }

    void escapeSequencesReachNothing() {
        Shown logs;
        logs.setLog(u"[36m2026 \x1b[31mred\x1b[0m\x1b]0;title\x07 \u202eend\r\n"_s);
        const QString plain = u"2026 red end\n"_s;
        logs.open();
        QCOMPARE(logs.text() + u'\n', plain);
        logs.click(u"Copy"_s);
        QCOMPARE(QGuiApplication::clipboard()->text(), plain);
        logs.click(u"Save…"_s);
        const QString path = logs.world.home.path(u"logs.txt"_s);
        logs.world.dialogs.pathQuestions[0].answer.complete(path);
        QVERIFY(waitUntil([&] { return contentOf(path) == plain.toUtf8(); }));
    }

    void markupIsText() {
        Shown logs;
        const QString text = u"<b>bold</b> &amp; <img src='file:///etc/passwd'>"_s;
        logs.setLog(text);
        logs.open();
        QCOMPARE(logs.text(), text);
    }

    void hugeLogsAreShownToTheirEnd() {
        QString text;
        for (int i = 0; i < 300; ++i) {
            text += u"%1 "_s.arg(i) + QString(10000, u'x') + u'\n';
        }
        Shown logs;
        logs.setLog(text);
        logs.open();
        QCOMPARE(logs.text() + u'\n', text);
        QVERIFY(logs.isAtEnd());
        const QRect end = logs.box().cursorRect(QTextCursor(logs.box().document()->lastBlock()));
        QVERIFY(end.top() < logs.box().viewport()->height());
    }

    void screenReadersAreToldOfEverything() {
        Shown logs;
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
        Shown logs;
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
        Shown logs;
        logs.open();
        logs.follow().setFocus();
        QTest::keyClick(&logs.follow(), Qt::Key_Space);
        QVERIFY(!logs.follow().isChecked());
    }

    void windowIsAsItShouldBe() {
        Shown logs;
        const LogsWindow window(logs.world.controller(), logs.world.dialogs, logs.world.clock);
        QCOMPARE(window.windowTitle(), u"Uptime Kuma Logs"_s);
        QCOMPARE(window.minimumSize(), QSize(600, 400));
        QCOMPARE(window.maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
    }
};

ORVANEL_TEST(TestLogsView)
#include "TestLogsView.moc"
