#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace orvanel {

/// What a zip archive says about itself, which need not be true.
struct ZipListing {
    qint64 entries = 0;
    /// The size of all files when unpacked, in bytes.
    qint64 bytes = 0;

    bool operator==(const ZipListing&) const = default;
};

/// The result of checking a copied database. Both fields are empty if it passed, or if the file is not an SQLite
/// database.
struct DatabaseCheck {
    /// Why the database did not pass.
    std::optional<QString> problem = {};
    /// Why the check could not be made, for example for lack of space. The database may be good or bad.
    std::optional<QString> notMade = {};

    bool hasPassed() const { return !problem && !notMade; }
    bool operator==(const DatabaseCheck&) const = default;
};

/// The readers of the two foreign file formats, libarchive's for zip archives and SQLite's for databases. They lie in
/// the module orvanel-formats.so, which is loaded when a backup first needs them: a start with both libraries takes a
/// sixth more instructions (./bench start). All block; any thread.
struct FileFormats {
    /// Reads the list at the end of the archive. None if the file cannot be read or the list does not match the rest of
    /// the file: the archive is cut off, damaged or not a zip archive.
    std::optional<ZipListing> (*listZip)(const QString& archive);

    /// Opens the database, with the log beside it, and checks its indexes as well as its pages: in a torn copy, every
    /// page may be whole and yet the pages may not fit together. Opening a database can change it.
    DatabaseCheck (*checkDatabase)(const QString& database);

    /// What the server has stored in its table "setting" under this key, as JSON; empty without such a row. None if the
    /// table cannot be read. Nothing is written, also not to the log beside the database.
    std::optional<QByteArray> (*readSetting)(const QString& database, const QByteArray& key);
};

} // namespace orvanel

/// The module's one symbol. A program that runs while its package is upgraded loads the module of the new version, so
/// the number in the name changes with FileFormats.
extern "C" Q_DECL_EXPORT const orvanel::FileFormats* orvanelFileFormats1();
