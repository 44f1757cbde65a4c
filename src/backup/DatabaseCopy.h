#pragma once

#include <QString>

#include <string>
#include <vector>

namespace orvanel {

/// The files that make up the database and only fit together: the database first, then its logs.
std::vector<std::string> databaseFiles();

/// Copies the database's files from the folder `source` into `target`, where none of them is yet. When one of them
/// changed meanwhile, all are copied again, up to three times; after that the copy is as good as it gets, and only
/// checkDatabase() can tell. Throws what the platform says. Blocks; any thread.
void copyDatabase(const QString& source, const QString& target);

} // namespace orvanel
