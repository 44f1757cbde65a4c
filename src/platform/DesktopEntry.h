#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

namespace orvanel {

/// The text of a desktop entry file (Desktop Entry standard). Its main group can be read and changed; every
/// other line stays as it is.
class DesktopEntry {
public:
    /// An entry whose main group is empty.
    DesktopEntry();
    /// None when the text is no desktop entry: a desktop would not start from it either.
    static std::optional<DesktopEntry> parse(const QByteArray& content);

    /// The value of a key of the main group, with the escapes of string values undone.
    std::optional<QString> value(const QByteArray& key) const;
    /// The parts of a value that is a list; empty when the key is missing.
    QStringList list(const QByteArray& key) const;
    bool isTrue(const QByteArray& key) const;
    bool isFalse(const QByteArray& key) const;

    void setValue(const QByteArray& key, const QString& value);
    /// Sets the value unless the key is there already.
    void setDefault(const QByteArray& key, const QString& value);
    void remove(const QByteArray& key);

    QByteArray content() const;

private:
    qsizetype endOfMainGroup() const;
    qsizetype lineOf(const QByteArray& key) const;

    QList<QByteArray> m_lines;
    qsizetype m_header = 0;
};

} // namespace orvanel

/// The quoting of the Exec key of desktop entries (Desktop Entry standard, "The Exec key"), above the escapes
/// that every string value of such a file has.
namespace orvanel::execline {

/// One argument, quoted so that it comes out of arguments() as it is.
QString quoted(const QString& argument);

/// The arguments of an Exec value, without field codes such as %u. Accepts common mistakes.
QStringList arguments(const QString& exec);

} // namespace orvanel::execline
