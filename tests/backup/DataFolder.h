#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace orvanel::test {

/// Makes all folders of this process in memory from now on, where there is such a place: for tests that make so many
/// files that a disk would be what is tested.
void workInMemory();

/// A throw-away place with a program folder in it, as the controller lays it out: "data" and "Backups".
class DataFolder {
public:
    DataFolder();

    QString path(const QString& relative = {}) const;
    QString data(const QString& relative = {}) const;
    QString backups(const QString& relative = {}) const;

    /// A small data folder with files, folders and links of every kind.
    void fill() const;
    /// Writes a file anywhere below, with the folders above it.
    void write(const QString& relative, const QByteArray& content) const;
    QByteArray read(const QString& relative) const;

    /// The names in the Backups folder, and those in any folder, hidden ones too.
    QStringList kept() const;
    QStringList names(const QString& relative = {}) const;

private:
    QTemporaryDir m_folder;
};

/// Everything in a folder as text, path by path: kind, permissions, date, size, content's hash, link's target. Two
/// folders with the same description are the same to a reader.
QMap<QString, QString> describe(const QString& folder);

/// The first difference between two folders in words; empty when there is none.
QString difference(const QString& folder, const QString& other);
QString difference(const QMap<QString, QString>& folder, const QMap<QString, QString>& other);

/// Ends a tool's run; its output, or "failed: " and its output.
QString runTool(const QString& program, const QStringList& arguments);

} // namespace orvanel::test
