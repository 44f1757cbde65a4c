// Feeds any bytes to the reader of desktop entries, and any text to their values.
#include "Fuzz.h"
#include "platform/DesktopEntry.h"

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

/// Text that a desktop entry can hold: without zero bytes, and without the two blanks that cannot be escaped.
QString possibleValue(QByteArrayView bytes) {
    QString text = QString::fromUtf8(bytes);
    text.removeIf([](QChar c) { return c == QChar::Null || c == u'\v' || c == u'\f'; });
    return text;
}

/// All lines except those of the key.
QByteArrayList linesWithout(const QByteArray& key, const DesktopEntry& entry) {
    QByteArrayList lines = entry.content().split('\n');
    lines.removeIf([&](const QByteArray& line) { return line.left(line.indexOf('=')).trimmed() == key; });
    return lines;
}

void checkValue(const DesktopEntry& original, const QByteArray& key, const QString& value) {
    DesktopEntry entry = original;
    entry.setValue(key, value);
    require(entry.value(key) == value, "a value that was set is there");
    entry.setDefault(key, u"another"_s);
    const auto second = DesktopEntry::parse(entry.content());
    require(second.has_value(), "what was written can be read");
    require(second->value(key) == value, "a value survives being written");
    require(second->content() == entry.content(), "an entry survives being written");
    require(linesWithout(key, entry) == linesWithout(key, original), "other lines stay");
    entry.remove(key);
    require(!entry.value(key), "a removed key is gone");
}

void checkArguments(const QString& first, const QString& second) {
    using namespace execline;
    const QStringList both{first, second};
    require(arguments(quoted(first) + u' ' + quoted(second)) == both, "quoted arguments come out as they are");
    DesktopEntry entry;
    entry.setValue("Exec", quoted(first) + u' ' + quoted(second));
    require(arguments(entry.value("Exec").value_or(QString())) == both,
            "quoted arguments also come out of an entry as they are");
}

} // namespace

/// The input has three parts: the entry and two values.
void fuzz(QByteArrayView input) {
    const QByteArray content = takePart(&input).toByteArray();
    const QString value = possibleValue(takePart(&input));
    const QString other = possibleValue(takePart(&input));
    checkArguments(value, other);
    execline::arguments(QString::fromUtf8(content));
    checkValue(DesktopEntry(), "Exec", value);
    const auto entry = DesktopEntry::parse(content);
    if (!entry) {
        return;
    }
    const auto same = DesktopEntry::parse(entry->content());
    require(same && same->content() == entry->content(), "an entry reads as it was written");
    require(!entry->isTrue("Hidden") || !entry->isFalse("Hidden"), "true is not false");
    execline::arguments(entry->value("Exec").value_or(QString()));
    checkValue(*entry, "Exec", value);
    checkValue(*entry, "Hidden", other);
}

} // namespace orvanel::test
