#include "app/PlainLog.h"

#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr char16_t bell = 0x07;
constexpr char16_t cancel = 0x18;
constexpr char16_t substitute = 0x1a;
constexpr char16_t escape = 0x1b;
constexpr char16_t nextLine = 0x85;
constexpr char16_t stringTerminator = 0x9c;
constexpr char16_t replacement = 0xfffd;

constexpr bool isBetween(char16_t c, char16_t first, char16_t last) {
    return first <= c && c <= last;
}

bool isLineEnd(char16_t c) {
    return isBetween(c, u'\n', u'\r') || c == nextLine || c == 0x2028 || c == 0x2029;
}

/// Bidirectional controls change the direction of the text after them, even on other lines.
bool isBidiControl(char16_t c) {
    return c == 0x061c || c == 0x200e || c == 0x200f || isBetween(c, 0x202a, 0x202e) || isBetween(c, 0x2066, 0x2069);
}

/// Code points that are no characters. Qt marks the beginning and end of text frames with them.
bool isNoCharacter(char16_t c) {
    return isBetween(c, 0xfdd0, 0xfdef) || c >= 0xfffe;
}

bool isOrdinary(char16_t c) {
    if (isBetween(c, 0x20, 0x7e) || c == u'\n' || c == u'\t') {
        return true;
    }
    if (c < 0x2000) {
        return c > 0x9f && c != 0x061c;
    }
    return !isBidiControl(c) && !isNoCharacter(c) && c != 0x2028 && c != 0x2029;
}

bool isPlain(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar c) { return isOrdinary(c.unicode()); });
}

/// The length of what is left of a sequence at the front of a log that was cut there: "[31mred", "0;31mred", "]0;title"
/// and a bell. A single number before an 'm' is more often a duration; the next characters tell which.
qsizetype cutSequenceLength(const QString& text) {
    static const QRegularExpression cut(uR"re(^(?:\[[0-9;:]*m|[0-9]{0,3}(?:;[0-9]{0,3})+m)re"
                                        R"re(|[0-9]{1,3}m(?=[^\sa-z0-9]|[0-9]{4}))re"
                                        R"re(|\]?[0-9]{1,4};[^\n\r\x07\x1b\x9c]*(?:\x07|\x1b\\|\x9c)))re"_s);
    return cut.match(text).capturedLength();
}

/// Reads a text once from beginning to end.
class LogReader {
public:
    explicit LogReader(const QString& text)
        : m_text(text)
        , m_at(cutSequenceLength(text)) {}

    QString plain() {
        QString result;
        result.reserve(m_text.size());
        while (m_at < m_text.size()) {
            const qsizetype start = m_at;
            while (m_at < m_text.size() && isOrdinary(m_text[m_at].unicode())) {
                m_at += 1;
            }
            result += m_text.sliced(start, m_at - start);
            if (m_at < m_text.size()) {
                result += takeControl();
            }
        }
        return result;
    }

private:
    char16_t peek() const { return m_at < m_text.size() ? m_text[m_at].unicode() : u'\0'; }
    bool isNext(char16_t first, char16_t last) const {
        return m_at < m_text.size() && isBetween(m_text[m_at].unicode(), first, last);
    }

    /// Skips a control character and its sequence, and returns what stands for them.
    QString takeControl() {
        const char16_t c = peek();
        m_at += 1;
        if (c == escape) {
            skipEscape();
        } else if (isBetween(c, 0x80, 0x9f) && c != nextLine) {
            skipSequence(static_cast<char16_t>(c - 0x40));
        } else if (isLineEnd(c)) {
            skipRestOfLineEnd(c);
            return u"\n"_s;
        } else if (isNoCharacter(c)) {
            return QString(QChar(replacement));
        }
        return {};
    }

    /// Terminals write "\r\r\n" as well as "\r\n". A carriage return alone, which overwrites the line, ends it here.
    void skipRestOfLineEnd(char16_t c) {
        if (c != u'\r') {
            return;
        }
        while (peek() == u'\r') {
            m_at += 1;
        }
        if (peek() == u'\n') {
            m_at += 1;
        }
    }

    void skipEscape() {
        if (isNext(0x40, 0x5f)) {
            const char16_t kind = peek();
            m_at += 1;
            skipSequence(kind);
            return;
        }
        skipWhile(0x20, 0x2f);
        skipOne(0x30, 0x7e);
    }

    /// Skips the rest of a sequence that began with ESC and `kind`, or with the one character for both.
    void skipSequence(char16_t kind) {
        if (kind == u'[') {
            skipWhile(0x30, 0x3f);
            skipWhile(0x20, 0x2f);
            skipOne(0x40, 0x7e);
        } else if (kind == u']' || kind == u'P' || kind == u'X' || kind == u'^' || kind == u'_') {
            skipString();
        }
    }

    /// A string without an end takes only the rest of its line. An escape ends it and is left for the caller: reading
    /// it here would need a stack as deep as strings can be nested.
    void skipString() {
        while (m_at < m_text.size()) {
            const char16_t c = peek();
            if (isLineEnd(c) || c == escape) {
                return;
            }
            m_at += 1;
            if (c == bell || c == cancel || c == substitute || c == stringTerminator) {
                return;
            }
        }
    }

    void skipWhile(char16_t first, char16_t last) {
        while (isNext(first, last)) {
            m_at += 1;
        }
    }
    void skipOne(char16_t first, char16_t last) {
        if (isNext(first, last)) {
            m_at += 1;
        }
    }

    const QStringView m_text;
    qsizetype m_at;
};

} // namespace

QString plainLog(const QString& text) {
    const bool isAlready = cutSequenceLength(text) == 0 && isPlain(text);
    return isAlready ? text : LogReader(text).plain();
}

} // namespace orvanel
