#include "platform/IniText.h"

#include <QByteArrayList>
#include <QStringDecoder>

#include <algorithm>
#include <cctype>

namespace orvanel {
namespace {

bool isUtf8(const QByteArray& line) {
    // Without a state, a character that is cut at the end is an error too.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder(line);
    return !decoder.hasError();
}

/// The first character of an item, which may be escaped, and the rest of the item.
struct FirstCharacter {
    char16_t character = 0;
    QByteArrayView rest;
};

FirstCharacter firstCharacter(QByteArrayView item) {
    if (item.isEmpty()) {
        return {};
    }
    if (!item.startsWith('\\')) {
        return {static_cast<uchar>(item.front()), item.sliced(1)};
    }
    // Qt accepts any number of digits, and only the last ones count.
    const bool isHex = item.startsWith("\\x");
    const QByteArrayView digits = isHex ? "0123456789abcdef" : "01234567";
    unsigned value = 0;
    qsizetype length = isHex ? 2 : 1;
    while (length < item.size()) {
        const qsizetype digit = digits.indexOf(static_cast<char>(std::tolower(static_cast<uchar>(item[length]))));
        if (digit < 0) {
            break;
        }
        value = value * static_cast<unsigned>(digits.size()) + static_cast<unsigned>(digit);
        ++length;
    }
    return {static_cast<char16_t>(value), item.sliced(length)};
}

/// Whether the item that begins here is an object. "@@" is a text that begins with "@". A few texts that only begin
/// like an object also count as one; only people write such texts, never Qt.
bool beginsObject(QByteArrayView item) {
    while (item.startsWith(' ') || item.startsWith('\t')) {
        item = item.sliced(1);
    }
    while (item.startsWith('"')) {
        item = item.sliced(1);
    }
    const FirstCharacter first = firstCharacter(item);
    const bool isTyped = first.rest.startsWith('V') || first.rest.startsWith('D') || first.rest.startsWith('\\') ||
                         first.rest.startsWith('"');
    return first.character == u'@' && isTyped;
}

/// Qt drops an unknown escape together with its backslash, and would read text after it that has not been checked here.
bool isKnownEscape(QByteArrayView text) {
    if (text.startsWith('x')) {
        return text.size() > 1 && std::isxdigit(static_cast<uchar>(text[1])) != 0;
    }
    return !text.isEmpty() && QByteArrayView("abfnrtv\"?'\\01234567").contains(text.front());
}

/// A value must end with its line, which a quote or a backslash at its end would prevent, and must not contain an
/// object.
bool isHarmlessValue(QByteArrayView value) {
    bool isQuoted = false;
    bool holdsObject = beginsObject(value);
    for (qsizetype i = 0; i < value.size(); ++i) {
        if (value[i] == '\\') {
            if (!isKnownEscape(value.sliced(i + 1))) {
                return false;
            }
            ++i;
        } else if (value[i] == '"') {
            isQuoted = !isQuoted;
        } else if (value[i] == ',' && !isQuoted) {
            holdsObject = holdsObject || beginsObject(value.sliced(i + 1));
        }
    }
    return !isQuoted && !holdsObject;
}

/// A key must end at its equals sign, which a backslash before it would prevent. Other backslashes separate its groups.
bool isHarmlessKey(QByteArrayView key) {
    bool isQuoted = false;
    for (qsizetype i = 0; i < key.size(); ++i) {
        if (key[i] == '\\') {
            ++i;
            if (i == key.size()) {
                return false;
            }
        } else if (key[i] == '"') {
            isQuoted = !isQuoted;
        }
    }
    return !isQuoted;
}

bool isHarmlessLine(const QByteArray& rawLine) {
    const QByteArray line = rawLine.trimmed();
    // A carriage return ends a line too.
    if (line.contains('\r') || !isUtf8(line)) {
        return false;
    }
    if (line.isEmpty() || line.startsWith(';') || line.startsWith('#')) {
        return true;
    }
    if (line.startsWith('[')) {
        return line.endsWith(']');
    }
    const qsizetype equals = line.indexOf('=');
    return equals >= 0 && isHarmlessKey(line.first(equals)) && isHarmlessValue(line.sliced(equals + 1));
}

} // namespace

bool isHarmlessIni(const QByteArray& text) {
    const QByteArrayList lines = text.split('\n');
    return std::all_of(lines.begin(), lines.end(), isHarmlessLine);
}

QByteArray harmlessIniLines(const QByteArray& text) {
    QByteArrayList lines = text.split('\n');
    lines.removeIf([](const QByteArray& line) { return !isHarmlessLine(line); });
    return lines.join('\n');
}

} // namespace orvanel
