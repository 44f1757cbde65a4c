#include "app/widgets/DetailsSection.h"
#include "app/widgets/LogBox.h"
#include "support/Await.h"

#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>

using namespace orvanel;
using namespace orvanel::test;

namespace {

QString lines(int count) {
    QString text;
    for (int i = 0; i < count; ++i) {
        text += QStringLiteral("line %1\n").arg(i);
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
        TextBox box(QStringLiteral("Output"));
        box.setContent(QStringLiteral("<b>1 & 2</b>"));
        QCOMPARE(box.toPlainText(), QStringLiteral("<b>1 & 2</b>"));
        QVERIFY(box.isReadOnly());
        QCOMPARE(box.accessibleName(), QStringLiteral("Output"));
    }

    void theSameTextChangesNothing() {
        TextBox box(QStringLiteral("Output"));
        QVERIFY(box.setContent(lines(3)));
        const QSignalSpy changes(&box, &QPlainTextEdit::textChanged);
        QVERIFY(!box.setContent(lines(3)));
        QCOMPARE(changes.size(), 0);
    }

    void theSelectionStaysWhileTextIsAdded() {
        TextBox box(QStringLiteral("Output"));
        box.setContent(lines(3));
        QTextCursor cursor = box.textCursor();
        cursor.select(QTextCursor::WordUnderCursor);
        box.setTextCursor(cursor);
        QCOMPARE(box.textCursor().selectedText(), QStringLiteral("line"));
        QVERIFY(box.setContent(lines(5)));
        QCOMPARE(box.textCursor().selectedText(), QStringLiteral("line"));
        QCOMPARE(box.toPlainText() + QLatin1Char('\n'), lines(5));
    }

    void textAddedWithinALineOrAfterIt() {
        TextBox box(QStringLiteral("Output"));
        box.setContent(QStringLiteral("a\n"));
        box.setContent(QStringLiteral("a\nb"));
        box.setContent(QStringLiteral("a\nbc\n\n"));
        QCOMPARE(box.toPlainText(), QStringLiteral("a\nbc\n"));
        // The beginning was cut off.
        box.setContent(QStringLiteral("bc\n\n"));
        QCOMPARE(box.toPlainText(), QStringLiteral("bc\n"));
        box.setContent({});
        QCOMPARE(box.toPlainText(), QString());
    }

    void tabLeavesTheBox() { QVERIFY(TextBox(QStringLiteral("Output")).tabChangesFocus()); }

    void logIsAsHighAsItIsAndScrollsToItsEnd() {
        LogBox box(QStringLiteral("Output"), QStringLiteral("Waiting…"));
        box.resize(400, 180);
        box.show();
        QCOMPARE(box.height(), 180);
        QCOMPARE(box.placeholderText(), QStringLiteral("Waiting…"));
        box.setLog(lines(200));
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
        QCOMPARE(button->text(), QStringLiteral("Show details"));
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

    void otherDetailsCollapseTheSection() {
        DetailsSection section;
        section.show();
        section.setDetails(lines(2));
        section.findChild<QToolButton*>()->click();
        section.setDetails(lines(3));
        QVERIFY(!section.findChild<TextBox*>()->isVisible());
        section.findChild<QToolButton*>()->click();
        QCOMPARE(section.findChild<TextBox*>()->toPlainText(), lines(3).trimmed());
    }
};

QTEST_MAIN(TestTextBox)
#include "TestTextBox.moc"
