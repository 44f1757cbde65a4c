#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace orvanel::test {

/// Makes all folders of this process in memory from now on, if possible: for tests that make so many files that they
/// would otherwise measure the disk.
void workInMemory();

/// A throw-away place with a program folder in it, as the controller lays it out: "data" and "Backups".
class DataFolder {
public:
    DataFolder();

    QString path(const QString& relative = {}) const;
    QString data(const QString& relative = {}) const;
    QString backups(const QString& relative = {}) const;

    /// Fills the data folder with a few files, folders and links of every kind.
    void fill() const;
    /// Writes a file at any place below, and makes the folders above it.
    void write(const QString& relative, const QByteArray& content) const;
    QByteArray read(const QString& relative) const;

    /// The names in the Backups folder, and those in any folder, hidden ones too.
    QStringList kept() const;
    QStringList names(const QString& relative = {}) const;

private:
    QTemporaryDir m_folder;
};

/// Describes everything in a folder as text, by path: kind, permissions, date, size, hash of the content, target of a
/// link. A reader cannot tell two folders with the same description apart.
QMap<QString, QString> describe(const QString& folder);

/// The first difference between two folders in words; empty if there is none.
QString difference(const QString& folder, const QString& other);
QString difference(const QMap<QString, QString>& folder, const QMap<QString, QString>& other);

/// Runs a tool to its end. Returns its output, after "failed: " if it failed.
QString runTool(const QString& program, const QStringList& arguments);

} // namespace orvanel::test
