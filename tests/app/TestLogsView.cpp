#include "ControllerFixture.h"
#include "Find.h"
#include "app/LogsWindow.h"
#include "app/views/LogsView.h"
#include "app/widgets/Switch.h"
#include "app/widgets/TextBox.h"
#include "support/Await.h"

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

using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto logsCommand = QStringLiteral("logs");

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
        text += QStringLiteral("2026-11-21 line %1\n").arg(i);
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
        logs.setLog(QStringLiteral("hello\n"));
        logs.world.delay("logs", 1s, 1);
        logs.open();
        QCOMPARE(logs.text(), QString());
        QCOMPARE(logs.box().placeholderText(), QStringLiteral("No logs yet."));
        QVERIFY(logs.follow().isChecked());
        QCOMPARE(logs.readings(), 1);
        logs.world.advance(1s);
        QCOMPARE(logs.text(), QStringLiteral("hello"));
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
        QCOMPARE(accessible(&logs.box())->text(QAccessible::Description), QStringLiteral("No logs yet."));
        logs.nextReading(QStringLiteral("hello"));
        QCOMPARE(accessible(&logs.box())->text(QAccessible::Description), QString());
        QCOMPARE(accessible(&logs.box())->text(QAccessible::Value), QStringLiteral("hello"));
        logs.nextReading({});
        QCOMPARE(logs.text(), QString());
        QCOMPARE(accessible(&logs.box())->text(QAccessible::Description), QStringLiteral("No logs yet."));
    }

    void failuresAreTextAsWell() {
        Shown logs;
        logs.world.answer("logs", 1, {});
        logs.open();
        QCOMPARE(logs.text(), QStringLiteral("No logs. The container may not exist yet."));
        logs.world.installedDocker = std::nullopt;
        logs.world.controller().recheck();
        logs.world.advance(2s);
        QCOMPARE(logs.text(), QStringLiteral("Docker was not found."));
    }

    void withoutFollowItEndsAfterTheCurrentCycle() {
        Shown logs;
        logs.open();
        logs.readings();
        logs.follow().click();
        logs.nextReading(QStringLiteral("last"));
        QCOMPARE(logs.readings(), 1);
        QCOMPARE(logs.text(), QStringLiteral("last"));
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
        logs.setLog(QStringLiteral("asked for"));
        logs.click(QStringLiteral("Refresh"));
        QCOMPARE(logs.text(), QStringLiteral("asked for"));
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
        logs.setLog(QStringLiteral("hello"));
        logs.world.delay("logs", 1s, 1);
        logs.open();
        logs.follow().click();
        logs.world.advance(1s);
        QCOMPARE(logs.text(), QStringLiteral("hello"));
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
        logs.setLog(QStringLiteral("new"));
        if (isKey) {
            logs.press(Qt::Key_F5);
        } else {
            logs.click(QStringLiteral("Refresh"));
        }
        QCOMPARE(logs.readings(), 1);
        QCOMPARE(logs.text(), QStringLiteral("new"));
    }

    void theReadingThatEndsLastCounts() {
        Shown logs;
        logs.world.answer("logs", 0, QStringLiteral("of the loop"), 1, 5s);
        logs.open();
        logs.setLog(QStringLiteral("asked for"));
        logs.click(QStringLiteral("Refresh"));
        QCOMPARE(logs.text(), QStringLiteral("asked for"));
        logs.world.advance(5s);
        QCOMPARE(logs.text(), QStringLiteral("of the loop"));
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
        logs.click(QStringLiteral("Refresh"));
        logs.view.reset();
        QCOMPARE(logs.world.underWay().count(logsCommand), 2);
        logs.readings();
        logs.world.advance(1min);
        QCOMPARE(logs.world.underWay(), QStringList());
        QCOMPARE(logs.readings(), 0);
    }

    void aDockerThatHangsHoldsNothingUp() {
        Shown logs;
        logs.setLog(QStringLiteral("asked for"));
        logs.world.hang("logs", 1);
        logs.open();
        logs.click(QStringLiteral("Refresh"));
        QCOMPARE(logs.text(), QStringLiteral("asked for"));
        logs.world.advance(15s);
        QCOMPARE(logs.text(), QStringLiteral("No logs. The container may not exist yet."));
        logs.world.advance(2s);
        QCOMPARE(logs.text(), QStringLiteral("asked for"));
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
        QTest::newRow("another last line") << lines(40, 200) + QStringLiteral("other\n");
    }
    void withoutFollowThePlaceStays() {
        QFETCH(const QString, next);
        Shown logs;
        logs.setLog(lines(0, 250));
        logs.open();
        logs.follow().click();
        logs.bar().setValue(120);
        const QString top = logs.firstVisibleLine();
        QCOMPARE(top, QStringLiteral("2026-11-21 line 120"));
        logs.nextReading(next);
        QCOMPARE(logs.text() + QLatin1Char('\n'), next);
        QCOMPARE(logs.firstVisibleLine(), top);
    }

    void withoutFollowThePlaceStaysAmongWrappedLines() {
        const auto wide = [](int first) {
            return lines(first, 300).replace(QStringLiteral(" line"), QString(500, u'x'));
        };
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
        const QTextCursor cursor = logs.box().document()->find(QStringLiteral("line 250"));
        QVERIFY(cursor.hasSelection());
        logs.box().setTextCursor(cursor);
        logs.nextReading(lines(40, 300));
        QCOMPARE(logs.box().textCursor().selectedText(), QStringLiteral("line 250"));
        QCOMPARE(logs.isAtEnd(), follows);
    }

    void aSelectionOfEverythingDoesNotGrow() {
        Shown logs;
        logs.setLog(QStringLiteral("a\nb\n"));
        logs.open();
        logs.box().selectAll();
        logs.nextReading(QStringLiteral("a\nb\nc\n"));
        QCOMPARE(logs.box().textCursor().selection().toPlainText(), QStringLiteral("a\nb"));
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
        QTest::mousePress(window, Qt::LeftButton, {}, place(QStringLiteral("line 3")));
        QTest::mouseMove(window, place(QStringLiteral("line 5")));
        QCOMPARE(logs.box().textCursor().selection().toPlainText(), lines(3, 2));
        logs.nextReading(lines(first, count));
        QCOMPARE(logs.box().textCursor().selection().toPlainText(), lines(3, 2));
        QTest::mouseMove(window, place(QStringLiteral("line 8")));
        QTest::mouseRelease(window, Qt::LeftButton, {}, place(QStringLiteral("line 8")));
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
        QGuiApplication::clipboard()->setText(QStringLiteral("before"));
        Shown logs;
        logs.setLog(log);
        logs.open();
        if (isKey) {
            logs.press(QKeySequence::Copy);
        } else {
            logs.click(QStringLiteral("Copy"));
        }
        QCOMPARE(QGuiApplication::clipboard()->text(), log);
    }

    void withASelectionTheKeyCopiesThat() {
        Shown logs;
        logs.setLog(QStringLiteral("one two\nthree\n"));
        logs.open();
        logs.box().setFocus();
        logs.press(QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("one two\nthree\n"));
        logs.box().setTextCursor(logs.box().document()->find(QStringLiteral("two")));
        QTest::keySequence(&logs.box(), QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("two"));
        logs.click(QStringLiteral("Copy"));
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("one two\nthree\n"));
    }

    void saveWritesEverything_data() {
        QTest::addColumn<bool>("isKey");
        QTest::newRow("button") << false;
        QTest::newRow("key") << true;
    }
    void saveWritesEverything() {
        QFETCH(const bool, isKey);
        Shown logs;
        logs.setLog(QStringLiteral("günstig 😀\n"));
        logs.open();
        if (isKey) {
            logs.press(QKeySequence::Save);
        } else {
            logs.click(QStringLiteral("Save…"));
        }
        QCOMPARE(logs.world.dialogs.savePanels.size(), 1);
        QCOMPARE(logs.world.dialogs.savePanels[0].proposedName, QStringLiteral("uptime-kuma-logs.txt"));
        const QString path = logs.world.home.write(QStringLiteral("logs.txt"), "a longer text that was there before");
        logs.world.dialogs.pathQuestions[0].answer.complete(path);
        QVERIFY(waitUntil([&] { return contentOf(path) == QStringLiteral("günstig 😀\n").toUtf8(); }));
        // The temporary file has taken the place of the other.
        QCOMPARE(QDir(logs.world.home.path()).entryList({QStringLiteral("logs*")}, QDir::Files).size(), 1);
    }

    void whatIsThereWhenTheFileIsChosenIsSaved() {
        Shown logs;
        logs.open();
        logs.click(QStringLiteral("Save…"));
        logs.nextReading(QStringLiteral("later\n"));
        const QString path = logs.world.home.path(QStringLiteral("logs.txt"));
        logs.world.dialogs.pathQuestions[0].answer.complete(path);
        QVERIFY(waitUntil([&] { return contentOf(path) == "later\n"; }));
    }

    void cancellingWritesNothing() {
        Shown logs;
        logs.setLog(QStringLiteral("hello"));
        logs.open();
        logs.click(QStringLiteral("Save…"));
        logs.world.dialogs.pathQuestions[0].answer.complete(std::nullopt);
        logs.world.settle();
        QThreadPool::globalInstance()->waitForDone();
        QCOMPARE(QDir(logs.world.home.path()).entryList(QDir::Files), QStringList());
    }

    void aFailedSaveIsNotTold() {
        Shown logs;
        logs.setLog(QStringLiteral("hello"));
        logs.open();
        logs.click(QStringLiteral("Save…"));
        logs.world.dialogs.pathQuestions[0].answer.complete(logs.world.home.path(QStringLiteral("not/there.txt")));
        logs.world.settle();
        QThreadPool::globalInstance()->waitForDone();
        QVERIFY(!QFile::exists(logs.world.home.path(QStringLiteral("not"))));
        QVERIFY(!logs.world.controller().error());
    }

    void closingDuringTheQuestionWritesNothing() {
        Shown logs;
        logs.setLog(QStringLiteral("hello"));
        logs.open();
        logs.click(QStringLiteral("Save…"));
        logs.view.reset();
        const QString path = logs.world.home.path(QStringLiteral("logs.txt"));
        logs.world.dialogs.pathQuestions[0].answer.complete(path);
        logs.world.settle();
        QThreadPool::globalInstance()->waitForDone();
        QVERIFY(!QFile::exists(path));
    }

    void escapeSequencesReachNothing() {
        Shown logs;
        logs.setLog(QStringLiteral("[36m2026 \x1b[31mred\x1b[0m\x1b]0;title\x07 \u202eend\r\n"));
        const QString plain = QStringLiteral("2026 red end\n");
        logs.open();
        QCOMPARE(logs.text() + QLatin1Char('\n'), plain);
        logs.click(QStringLiteral("Copy"));
        QCOMPARE(QGuiApplication::clipboard()->text(), plain);
        logs.click(QStringLiteral("Save…"));
        const QString path = logs.world.home.path(QStringLiteral("logs.txt"));
        logs.world.dialogs.pathQuestions[0].answer.complete(path);
        QVERIFY(waitUntil([&] { return contentOf(path) == plain.toUtf8(); }));
    }

    void markupIsText() {
        Shown logs;
        const QString text = QStringLiteral("<b>bold</b> &amp; <img src='file:///etc/passwd'>");
        logs.setLog(text);
        logs.open();
        QCOMPARE(logs.text(), text);
    }

    void hugeLogsAreShownToTheirEnd() {
        QString text;
        for (int i = 0; i < 300; ++i) {
            text += QStringLiteral("%1 ").arg(i) + QString(10000, u'x') + QLatin1Char('\n');
        }
        Shown logs;
        logs.setLog(text);
        logs.open();
        QCOMPARE(logs.text() + QLatin1Char('\n'), text);
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
        check(&logs.follow(), QStringLiteral("Follow"), QAccessible::CheckBox);
        QVERIFY(accessible(&logs.follow())->state().checked);
        logs.follow().click();
        QVERIFY(!accessible(&logs.follow())->state().checked);
        check(&logs.box(), QStringLiteral("Logs"), QAccessible::EditableText);
        QVERIFY(accessible(&logs.box())->state().readOnly);
    }

    void tabGoesFromLeftToRightAndDown() {
        Shown logs;
        logs.open();
        QStringList reached;
        button(logs.view.get(), QStringLiteral("Refresh"))->setFocus();
        for (int i = 0; i < 5; ++i) {
            reached << accessible(logs.view->focusWidget())->text(QAccessible::Name);
            QTest::keyClick(logs.view->focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(reached, (QStringList{QStringLiteral("Refresh"), QStringLiteral("Follow"), QStringLiteral("Copy"),
                                       QStringLiteral("Save…"), QStringLiteral("Logs")}));
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
        QCOMPARE(window.windowTitle(), QStringLiteral("Uptime Kuma Logs"));
        QCOMPARE(window.minimumSize(), QSize(600, 400));
        QCOMPARE(window.maximumSize(), QSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX));
    }
};

QTEST_MAIN(TestLogsView)
#include "TestLogsView.moc"
