#pragma once

#include <QString>

#include <optional>
#include <string>
#include <vector>

namespace orvanel {

using namespace Qt::StringLiterals;

/// The files that make up the database `name` and only fit together: the database first, then its logs.
std::vector<std::string> databaseFiles(const QString& name = u"kuma.db"_s);

/// Copies the files of the database `name` from the folder `source` into `target`; what has such a name and is no file
/// stays as it is. When one of them changed meanwhile, all are copied again, up to three times; after that the copy is
/// as good as it gets, and only checkDatabase() can tell. Throws what the platform says. Blocks; any thread.
void copyDatabase(const QString& source, const QString& target, const QString& name = u"kuma.db"_s);

/// What came of the check of a copied database. Nothing is told of one that passed, and of one that is not SQLite's.
struct DatabaseCheck {
    /// Why the database did not pass.
    std::optional<QString> problem = {};
    /// Why the check could not be made: for want of space, for example. The database may be good or bad.
    std::optional<QString> notMade = {};

    bool hasPassed() const { return !problem && !notMade; }
    bool operator==(const DatabaseCheck&) const = default;
};

/// Lets SQLite check the database `name` in `folder` with the log beside it. The check is made on a scratch copy in
/// `scratch`, a folder that it makes and removes, or when that fails in the temporary directory: opening a database can
/// change it. Blocks; any thread.
DatabaseCheck checkDatabase(const QString& folder, const QString& scratch, const QString& name = u"kuma.db"_s);

} // namespace orvanel
