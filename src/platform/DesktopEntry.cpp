#include "platform/DesktopEntry.h"

#include <QStringDecoder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

const QByteArray mainGroup = QByteArrayLiteral("[Desktop Entry]");

bool isBlankOrComment(const QByteArray& line) {
    const QByteArray trimmed = line.trimmed();
    return trimmed.isEmpty() || trimmed.startsWith('#');
}

bool isGroup(const QByteArray& line) {
    const QByteArray trimmed = line.trimmed();
    return trimmed.startsWith('[') && trimmed.endsWith(']');
}

bool isKnownLine(const QByteArray& line) {
    return isBlankOrComment(line) || isGroup(line) || line.indexOf('=') > 0;
}

QByteArray keyOf(const QByteArray& line) {
    return isBlankOrComment(line) || isGroup(line) ? QByteArray() : line.left(line.indexOf('=')).trimmed();
}

QString unescaped(const QString& text) {
    QString result;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != u'\\' || i + 1 == text.size()) {
            result += text[i];
            continue;
        }
        const QChar code = text[++i];
        const auto known = u"sntr\\"_s.indexOf(code);
        if (known < 0) {
            result += u'\\';
            result += code;
        } else {
            result += u" \n\t\r\\"_s[known];
        }
    }
    return result;
}

QString escaped(QString text) {
    text.replace(u'\\', u"\\\\"_s);
    text.replace(u'\n', u"\\n"_s);
    text.replace(u'\t', u"\\t"_s);
    text.replace(u'\r', u"\\r"_s);
    if (text.startsWith(u' ')) {
        text.replace(0, 1, u"\\s"_s);
    }
    // Spaces around a value are not part of it.
    if (text.endsWith(u' ')) {
        text.replace(text.size() - 1, 1, u"\\s"_s);
    }
    return text;
}

} // namespace

DesktopEntry::DesktopEntry()
    : m_lines{mainGroup} {}

std::optional<DesktopEntry> DesktopEntry::parse(const QByteArray& content) {
    // Without a state, a character that is cut at the end is an error too.
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString decoded = decoder(content);
    if (decoder.hasError() || decoded.contains(QChar::Null)) {
        return std::nullopt;
    }
    DesktopEntry entry;
    entry.m_lines = content.split('\n');
    if (entry.m_lines.last().isEmpty()) {
        entry.m_lines.removeLast();
    }
    const auto& lines = entry.m_lines;
    const auto header = std::find_if_not(lines.begin(), lines.end(), isBlankOrComment);
    if (header == lines.end() || header->trimmed() != mainGroup ||
        !std::all_of(lines.begin(), lines.end(), isKnownLine)) {
        return std::nullopt;
    }
    entry.m_header = header - lines.begin();
    return entry;
}

std::optional<QString> DesktopEntry::value(const QByteArray& key) const {
    const auto line = lineOf(key);
    if (line < 0) {
        return std::nullopt;
    }
    const QByteArray& text = m_lines[line];
    return unescaped(QString::fromUtf8(text.mid(text.indexOf('=') + 1).trimmed()));
}

QStringList DesktopEntry::list(const QByteArray& key) const {
    return value(key).value_or(QString()).split(u';', Qt::SkipEmptyParts);
}

bool DesktopEntry::isTrue(const QByteArray& key) const {
    return value(key) == u"true"_s;
}

bool DesktopEntry::isFalse(const QByteArray& key) const {
    return value(key) == u"false"_s;
}

void DesktopEntry::setValue(const QByteArray& key, const QString& value) {
    const QByteArray text = key + '=' + escaped(value).toUtf8();
    const auto line = lineOf(key);
    if (line >= 0) {
        m_lines[line] = text;
        return;
    }
    auto end = endOfMainGroup();
    while (m_lines[end - 1].trimmed().isEmpty()) {
        --end;
    }
    m_lines.insert(end, text);
}

void DesktopEntry::setDefault(const QByteArray& key, const QString& value) {
    if (lineOf(key) < 0) {
        setValue(key, value);
    }
}

void DesktopEntry::remove(const QByteArray& key) {
    for (auto line = lineOf(key); line >= 0; line = lineOf(key)) {
        m_lines.removeAt(line);
    }
}

QByteArray DesktopEntry::content() const {
    return m_lines.join('\n') + '\n';
}

qsizetype DesktopEntry::endOfMainGroup() const {
    const auto next = std::find_if(m_lines.begin() + m_header + 1, m_lines.end(), isGroup);
    return next - m_lines.begin();
}

// Keys must not repeat; where they do, most readers take the last one.
qsizetype DesktopEntry::lineOf(const QByteArray& key) const {
    for (auto line = endOfMainGroup() - 1; line > m_header; --line) {
        if (keyOf(m_lines[line]) == key) {
            return line;
        }
    }
    return -1;
}

} // namespace orvanel

namespace orvanel::execline {
namespace {

// The argument being read; quotes may start and end inside it.
struct ArgumentReader {
    QStringList done;
    QString current;
    bool inArgument = false;
    bool inQuotes = false;

    void add(QChar character) {
        current += character;
        inArgument = true;
    }

    void endArgument() {
        if (inArgument) {
            done << current;
        }
        current.clear();
        inArgument = false;
    }
};

} // namespace

QString quoted(const QString& argument) {
    QString result = u"\""_s;
    for (const QChar character : argument) {
        if (u"\"`$\\"_s.contains(character)) {
            result += u'\\';
        }
        if (character == u'%') {
            result += u'%';
        }
        result += character;
    }
    return result + u'"';
}

QStringList arguments(const QString& exec) {
    ArgumentReader reader;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar character = exec[i];
        const bool isLast = i + 1 == exec.size();
        if (character == u'\\' && !isLast) {
            reader.add(exec[++i]);
        } else if (character == u'%' && !isLast) {
            if (exec[++i] == u'%') {
                reader.add(u'%');
            }
        } else if (character == u'"') {
            reader.inQuotes = !reader.inQuotes;
            reader.inArgument = true;
        } else if (character.isSpace() && !reader.inQuotes) {
            reader.endArgument();
        } else {
            reader.add(character);
        }
    }
    reader.endArgument();
    return reader.done;
}

} // namespace orvanel::execline
