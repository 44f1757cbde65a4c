#include "ShownLogs.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QSignalSpy>
#include <QTextDocumentFragment>
#include <QWindow>

using namespace orvanel;
using namespace orvanel::test;

class TestLogsText : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theSameTextChangesNothing() {
        ShownLogs logs;
        logs.setLog(lines(0, 100));
        logs.open();
        const QSignalSpy changes(&logs.box(), &QPlainTextEdit::textChanged);
        logs.bar().setValue(3);
        logs.world.advance(10s);
        QCOMPARE(changes.size(), 0);
        // It does not even scroll to the end, because nothing is new there.
        QCOMPARE(logs.bar().value(), 3);
    }

    void followKeepsTheEndInView() {
        ShownLogs logs;
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
        ShownLogs logs;
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
        ShownLogs logs;
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
        ShownLogs logs;
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
        ShownLogs logs;
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
        ShownLogs logs;
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
        ShownLogs logs;
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

    void markupIsText() {
        ShownLogs logs;
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
        ShownLogs logs;
        logs.setLog(text);
        logs.open();
        QCOMPARE(logs.text() + u'\n', text);
        QVERIFY(logs.isAtEnd());
        const QRect end = logs.box().cursorRect(QTextCursor(logs.box().document()->lastBlock()));
        QVERIFY(end.top() < logs.box().viewport()->height());
    }
};

ORVANEL_TEST(TestLogsText)
#include "TestLogsText.moc"
