#include "app/PlainLog.h"
#include "support/TestClass.h"

#include <QRandomGenerator>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

QString ofCharacter(char16_t c) {
    return QString(QChar(c));
}

} // namespace

class TestPlainLog : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void rules_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("plain");
        const auto row = [](const char* name, const char* text, const char* plain) {
            QTest::newRow(name) << QString::fromUtf8(text) << QString::fromUtf8(plain);
        };
        row("nothing", "", "");
        row("plain", "2026-11-21 [SERVER] INFO: up\n\tat x\n", "2026-11-21 [SERVER] INFO: up\n\tat x\n");
        row("other scripts", "günstig ↑ 漢字 😀 שלום", "günstig ↑ 漢字 😀 שלום");
        row("markup", "<b>1 & 2</b>&amp;", "<b>1 & 2</b>&amp;");

        row("colour", "\x1b[31mred\x1b[0m", "red");
        row("many parameters", "\x1b[38;2;1;2;3;1mred\x1b[m", "red");
        row("colons", "\x1b[38:5:9mred", "red");
        row("private mode", "\x1b[?25lhidden\x1b[?25h", "hidden");
        row("intermediate", "\x1b[1 qcursor", "cursor");
        row("erased line", "a\x1b[2Kb\x1b[1Ac", "abc");
        row("eight-bit sequence", "\u009b31mred", "red");
        row("sequence broken by a line end", "\x1b[31\nred", "\nred");
        row("sequence broken by a letter of another script", "\x1b[31é", "é");
        row("sequence within a sequence", "\x1b[3\x1b[1mx", "x");

        row("title, bell", "\x1b]0;title\x07text", "text");
        row("title, terminator", "\x1b]0;title\x1b\\text", "text");
        row("title, eight-bit", "\u009d0;title\u009ctext", "text");
        row("link", "\x1b]8;;http://x/\x1b\\here\x1b]8;;\x1b\\.", "here.");
        row("title that never ends", "\x1b]0;title\nnext", "\nnext");
        row("title cancelled", "\x1b]0;ti\x18text", "text");
        row("device string", "\x1bPq#0;2\x1b\\text", "text");
        row("other strings", "\x1b_a\x1b\\1\x1b^b\x1b\\2\x1bXc\x1b\\3", "123");

        row("character set", "\x1b(Btext", "text");
        row("reset", "\033ctext", "text");
        row("saved cursor", "\0337text\0338", "text");
        row("lone escape", "a\x1b", "a");
        row("escape before a line end", "a\x1b\nb", "a\nb");
        row("escape before another", "a\x1b\x1b[1mb", "ab");
        row("cut at the end, no parameter", "a\x1b[", "a");
        row("cut at the end, parameter", "a\x1b[31", "a");
        row("cut at the end, title", "a\x1b]0;tit", "a");

        row("cut at the start, bracket", "[31mred", "red");
        row("cut at the start, reset", "[mred", "red");
        row("cut at the start, bracket before blank", "[0;1m red", " red");
        row("cut at the start, parameters", "0;31mred", "red");
        row("cut at the start, separator", ";31mred", "red");
        row("cut at the start, one parameter", "31mRed", "Red");
        row("cut at the start, before a date", "36m2026-11-21", "2026-11-21");
        row("cut at the start, before another", "0m\x1b[1mx", "x");
        row("cut at the start, title", "]0;title\x07text", "text");
        row("cut at the start, title without bracket", "0;title\x1b\\text", "text");
        row("no cut sequence: duration", "5m ago", "5m ago");
        row("no cut sequence: milliseconds", "15ms", "15ms");
        row("no cut sequence: duration in two", "15m20s", "15m20s");
        row("no cut sequence: module", "[SERVER] up", "[SERVER] up");
        row("no cut sequence: list", "1;2;3", "1;2;3");
        row("no cut sequence: later lines", "a\n[31mred", "a\n[31mred");

        row("line ends", "a\r\nb\nc\r\r\nd", "a\nb\nc\nd");
        row("overwritten line", "10%\r20%\r\r30%\n", "10%\n20%\n30%\n");
        row("carriage return at the end", "a\r", "a\n");
        row("empty lines", "a\r\n\r\nb\n\nc", "a\n\nb\n\nc");
        row("page and column", "a\fb\vc", "a\nb\nc");
        row("line ends of other scripts", "a\u0085b\u2028c\u2029d", "a\nb\nc\nd");

        row("control characters", "a\x01\x07\x08\x7f\u0090\x1b\\\u0086b", "ab");
        row("bidirectional controls", "\u202egpj.exe\u202c\u2066x\u2069\u200e\u200f\u061cy", "gpj.exexy");
        row("joiners stay", "👩\u200d💻", "👩\u200d💻");
        QTest::newRow("null") << u"a"_s + ofCharacter(0) + u"b"_s << u"ab"_s;
        for (const char16_t c : {u'\xfdd0', u'\xfdd1', u'\xfffe', u'\xffff'}) {
            QTest::addRow("no character %x", c) << ofCharacter(c) << u"\ufffd"_s;
        }
    }
    void rules() {
        QFETCH(const QString, text);
        QFETCH(const QString, plain);
        QCOMPARE(plainLog(text), plain);
    }

    void sequencesWithinSequencesNeedNoStack() {
        for (const QString& opening : {u"\x1b]0;"_s, u"\x1bP"_s, u"\x1b["_s}) {
            QCOMPARE(plainLog(opening.repeated(500000)), QString());
            QCOMPARE(plainLog(opening.repeated(500000) + u"\nx"_s), u"\nx"_s);
        }
    }

    void whateverComesNothingHarmfulIsLeft() {
        QRandomGenerator random(1);
        const QString pieces = u"\x1b\x1b\x1b[];?0123mJ\x07\\\r\n\x18\u009b\u009d\u009c\u2028\u202e\ufdd0 aé"_s;
        for (int round = 0; round < 5000; ++round) {
            QString text;
            for (int i = 0; i < 40; ++i) {
                text += pieces.at(random.bounded(static_cast<int>(pieces.size())));
            }
            for (const QChar c : plainLog(text)) {
                const bool isHarmless = c == u'\n' || (c >= u' ' && c < u'\x7f') || c == u'é' || c == u'\ufffd';
                QVERIFY2(isHarmless, qPrintable(text.toHtmlEscaped() + QString::number(c.unicode(), 16)));
            }
        }
    }
};

ORVANEL_TEST(TestPlainLog)
#include "TestPlainLog.moc"
