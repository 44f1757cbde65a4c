#include "Contrast.h"
#include "Palettes.h"
#include "app/widgets/DetailsSection.h"
#include "app/widgets/TextBox.h"
#include "app/widgets/TextField.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QTextBlock>
#include <QToolButton>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

QString lines(int count) {
    QString text;
    for (int i = 0; i < count; ++i) {
        text += u"line %1\n"_s.arg(i);
    }
    return text;
}

bool isAtEnd(const QPlainTextEdit& box) {
    return box.verticalScrollBar()->value() == box.verticalScrollBar()->maximum();
}

} // namespace

class TestTextBox : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void showsPlainText() {
        TextBox box(u"Output"_s);
        box.setContent(u"<b>1 & 2</b>"_s);
        QCOMPARE(box.toPlainText(), u"<b>1 & 2</b>"_s);
        QVERIFY(box.isReadOnly());
        QCOMPARE(box.accessibleName(), u"Output"_s);
    }

    void theSameTextChangesNothing() {
        TextBox box(u"Output"_s);
        QVERIFY(box.setContent(lines(3)));
        const QSignalSpy changes(&box, &QPlainTextEdit::textChanged);
        QVERIFY(!box.setContent(lines(3)));
        QCOMPARE(changes.size(), 0);
    }

    void theSelectionStaysWhileTextIsAdded() {
        TextBox box(u"Output"_s);
        box.setContent(lines(3));
        QTextCursor cursor = box.textCursor();
        cursor.select(QTextCursor::WordUnderCursor);
        box.setTextCursor(cursor);
        QCOMPARE(box.textCursor().selectedText(), u"line"_s);
        QVERIFY(box.setContent(lines(5)));
        QCOMPARE(box.textCursor().selectedText(), u"line"_s);
        QCOMPARE(box.toPlainText() + u'\n', lines(5));
    }

    void textAddedWithinALineOrAfterIt() {
        TextBox box(u"Output"_s);
        box.setContent(u"a\n"_s);
        box.setContent(u"a\nb"_s);
        box.setContent(u"a\nbc\n\n"_s);
        QCOMPARE(box.toPlainText(), u"a\nbc\n"_s);
        // The log was cut at its beginning.
        box.setContent(u"bc\n\n"_s);
        QCOMPARE(box.toPlainText(), u"bc\n"_s);
        box.setContent({});
        QCOMPARE(box.toPlainText(), QString());
    }

    void whatIsKept_data() {
        QTest::addColumn<QString>("old");
        QTest::addColumn<QString>("next");
        QTest::addColumn<int>("from");
        QTest::addColumn<int>("size");
        const QString all = lines(100);
        const int end = static_cast<int>(all.size());
        const int tenth = static_cast<int>(lines(10).size());
        QTest::newRow("nothing was there") << QString() << all << 0 << 0;
        QTest::newRow("nothing is left") << all << QString() << 0 << 0;
        QTest::newRow("the same") << all << all << 0 << end;
        QTest::newRow("more") << all << all + u"x"_s << 0 << end;
        QTest::newRow("less") << all << all.chopped(7) << 0 << end - 7;
        QTest::newRow("another end") << all << all.chopped(7) + u"-"_s << 0 << end - 7;
        QTest::newRow("less at the front") << all << all.mid(tenth) << tenth << end - tenth;
        QTest::newRow("moved on") << all << all.mid(tenth) + u"x\n"_s << tenth << end - tenth;
        QTest::newRow("moved on within a line") << all << all.mid(tenth + 2) + u"x"_s << tenth + 2 << end - tenth - 2;
        QTest::newRow("moved on, another end") << all << all.mid(tenth).chopped(7) + u"-"_s << tenth << end - tenth - 7;
        QTest::newRow("something else") << QString(300, u'a') << QString(300, u'b') << 0 << 0;
        QTest::newRow("repeated") << QString(300, u'a') << QString(301, u'a') << 0 << 300;
        QTest::newRow("half a character") << u"a😀"_s << u"a😁"_s << 0 << 1;
    }
    void whatIsKept() {
        QFETCH(const QString, old);
        QFETCH(const QString, next);
        QFETCH(const int, from);
        QFETCH(const int, size);
        const KeptText kept = keptText(old, next);
        QCOMPARE(kept.from, from);
        QCOMPARE(kept.size, size);
    }

    void escapeSequencesAreNotShown() {
        TextBox box(u"Output"_s);
        box.setContent(u"\x1b[31mred\x1b[0m\r\n"_s);
        QCOMPARE(box.toPlainText(), u"red"_s);
        QCOMPARE(box.content(), u"red\n"_s);
    }

    void linesWithoutEndAreShownInPieces() {
        TextBox box(u"Output"_s);
        const QString text = QString(45000, u'x') + u"\ny\n"_s;
        box.setContent(text);
        QCOMPARE(box.document()->blockCount(), 4);
        QCOMPARE(box.document()->firstBlock().length() - 1, 20000);
        QCOMPARE(box.content(), text);
    }

    void ofLinesWithoutEndTheLastAreShown() {
        TextBox box(u"Output"_s);
        box.setContent(lines(12000));
        QCOMPARE(box.document()->blockCount(), 10000);
        QCOMPARE(box.document()->lastBlock().text(), u"line 11999"_s);
        QCOMPARE(box.content(), lines(12000));
    }

    void whatIsCopiedIsPlainText() {
        TextBox box(u"Output"_s);
        const auto text = u"<b>1</b>\u00a0000 &amp;\tms\nsecond"_s;
        box.setContent(text);
        box.selectAll();
        QGuiApplication::clipboard()->clear();
        QTest::keyClick(&box, Qt::Key_C, Qt::ControlModifier);
        const QMimeData* const copied = QGuiApplication::clipboard()->mimeData();
        QCOMPARE(copied->formats(), QStringList{u"text/plain"_s});
        QCOMPARE(copied->text(), text);
    }

    void placeholdersCanBeRead_data() {
        QTest::addColumn<QPalette>("palette");
        QTest::newRow("light") << lightPalette();
        QTest::newRow("dark") << darkPalette();
    }
    void placeholdersCanBeRead() {
        QFETCH(const QPalette, palette);
        const TextBox box(u"Output"_s);
        const TextField field(u"Field"_s);
        // A switch at run time is followed.
        QApplication::setPalette(palette);
        drainEvents();
        const auto placeholder = [](const QWidget& widget) {
            return widget.palette().color(QPalette::PlaceholderText);
        };
        QVERIFY(contrast(placeholder(box), palette.color(QPalette::Window)) >= 4.5);
        QVERIFY(contrast(placeholder(field), palette.color(QPalette::Base)) >= 4.5);
        QApplication::setPalette(lightPalette());
    }

    void tabLeavesTheBox() { QVERIFY(TextBox(u"Output"_s).tabChangesFocus()); }

    void logIsAsHighAsItIsAndScrollsToItsEnd() {
        LogBox box(u"Output"_s, u"Waiting…"_s);
        box.resize(400, 180);
        box.show();
        QCOMPARE(box.height(), 180);
        QCOMPARE(box.placeholderText(), u"Waiting…"_s);
        QCOMPARE(box.accessibleDescription(), u"Waiting…"_s);
        box.setLog(lines(200));
        QCOMPARE(box.accessibleDescription(), QString());
        QVERIFY(box.verticalScrollBar()->maximum() > 0);
        QVERIFY(isAtEnd(box));
        box.verticalScrollBar()->setValue(0);
        box.setLog(lines(200));
        QCOMPARE(box.verticalScrollBar()->value(), 0);
        box.setLog(lines(201));
        QVERIFY(isAtEnd(box));
    }

    void detailsAreCollapsedAtFirst() {
        DetailsSection section;
        section.show();
        section.setDetails(lines(2));
        auto* button = section.findChild<QToolButton*>();
        QCOMPARE(button->text(), u"Show details"_s);
        QVERIFY(section.findChild<TextBox*>() == nullptr);

        QTest::keyClick(button, Qt::Key_Space);
        auto* box = section.findChild<TextBox*>();
        QVERIFY(box != nullptr && box->isVisible());
        QCOMPARE(box->toPlainText(), lines(2).trimmed());
        const int low = box->height();
        QVERIFY(low < 160);

        section.setDetails(lines(2));
        QVERIFY(box->isVisible());

        button->click();
        QVERIFY(!box->isVisible());
    }

    void detailsAreAtMost160High() {
        DetailsSection section;
        section.show();
        section.setDetails(lines(500));
        section.findChild<QToolButton*>()->click();
        QCOMPARE(section.findChild<TextBox*>()->height(), 160);
    }

    void otherDetailsLeaveTheSectionOpen() {
        DetailsSection section;
        section.show();
        section.setDetails(lines(2));
        section.findChild<QToolButton*>()->click();
        auto* box = section.findChild<TextBox*>();
        const int low = box->height();
        section.setDetails(lines(3));
        QVERIFY(box->isVisible() && box->height() > low);
        QCOMPARE(box->toPlainText(), lines(3).trimmed());
        section.collapse();
        QVERIFY(!box->isVisible());
    }

    /// Letters that come from another font make their line higher.
    void whatFitsNeedsNoScrolling() {
        TextBox box(u"Details"_s);
        box.setContent(u"[+] Running 0/1\n ⠋ Container\n世界 🌍\nplain\nplain\n"_s);
        box.resize(400, 10);
        box.show();
        drainEvents();
        box.fitHeight(300);
        drainEvents();
        QVERIFY(box.height() < 300);
        QCOMPARE(box.verticalScrollBar()->maximum(), 0);
    }
};

ORVANEL_TEST(TestTextBox)
#include "TestTextBox.moc"
