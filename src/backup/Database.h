#pragma once

#include "formats/FileFormats.h"

#include <QString>

#include <string>
#include <vector>

namespace orvanel {

using namespace Qt::StringLiterals;

/// The files that make up the database `name` and fit only together: the database first, then its logs.
std::vector<std::string> databaseFiles(const QString& name = u"kuma.db"_s);

/// Copies the files of the database `name` from the folder `source` into `target`; anything of such a name that is not
/// a file stays as it is. If one of the files changes meanwhile, all are copied again, up to three times; after that,
/// only checkDatabase() can tell whether the copy is good. Throws a file error. Blocks; any thread.
void copyDatabase(const QString& source, const QString& target, const QString& name = u"kuma.db"_s);

/// Has SQLite check the database `name` in `folder`, with the log beside it. Opening a database can change it, so a
/// scratch copy is checked: in `scratch`, a folder that this function makes and removes, or in the temporary folder if
/// that fails. Blocks; any thread.
DatabaseCheck checkDatabase(const QString& folder, const QString& scratch, const QString& name = u"kuma.db"_s);

} // namespace orvanel
