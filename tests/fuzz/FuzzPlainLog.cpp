// Feeds any bytes to the cleaner of logs that are shown, copied and saved.
#include "Fuzz.h"
#include "app/PlainLog.h"
#include "process/OutputBuffer.h"

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

bool isBetween(QChar c, char16_t first, char16_t last) {
    return c >= first && c <= last;
}

bool isHarmless(QChar c) {
    if (isBetween(c, 0x00, 0x1f)) {
        return c == u'\n' || c == u'\t';
    }
    const bool isBidiControl =
        c == u'\x061c' || isBetween(c, 0x200e, 0x200f) || isBetween(c, 0x202a, 0x202e) || isBetween(c, 0x2066, 0x2069);
    const bool isLineEnd = isBetween(c, 0x2028, 0x2029);
    const bool isNoCharacter = isBetween(c, 0xfdd0, 0xfdef) || isBetween(c, 0xfffe, 0xffff);
    return !isBetween(c, 0x7f, 0x9f) && !isBidiControl && !isLineEnd && !isNoCharacter;
}

QString checkedPlain(const QString& text) {
    QString plain = plainLog(text);
    require(std::all_of(plain.begin(), plain.end(), isHarmless), "nothing harmful is left");
    require(plain.size() <= text.size(), "nothing is added");
    return plain;
}

} // namespace

/// The input has two parts: some lines, and more lines.
void fuzz(QByteArrayView input) {
    const QString first = decodeUtf8(takePart(&input));
    const QString second = decodeUtf8(takePart(&input));
    checkedPlain(first);
    // After a line end, nothing can be the rest of a sequence whose beginning was cut off.
    const QString lines = u'\n' + first;
    const QString more = u'\n' + second;
    const QString plain = checkedPlain(lines);
    require(checkedPlain(plain) == plain, "what is plain stays as it is");
    static const QRegularExpression lineEnd(u"\\r+\\n?|[\\n\\v\\f\\x{85}\\x{2028}\\x{2029}]"_s);
    require(plain.split(u'\n').size() == lines.split(lineEnd).size(), "no line is lost");
    if (!lines.endsWith(u'\r')) {
        require(checkedPlain(lines + more) == plain + checkedPlain(more), "no sequence reaches into the next line");
    }
}

} // namespace orvanel::test
