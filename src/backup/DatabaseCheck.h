#pragma once

#include <QString>

#include <optional>

namespace orvanel {

using namespace Qt::StringLiterals;

/// What SQLite complains about in the database `name` in `folder` with the log that lies beside it; none when all is
/// well or the file is none of SQLite's. The check is made on a scratch copy in `scratch`, a folder that it makes and
/// removes, or when that fails in the temporary directory: opening a database can change it. Blocks; any thread.
std::optional<QString> checkDatabase(const QString& folder, const QString& scratch, const QString& name = u"kuma.db"_s);

} // namespace orvanel
