#pragma once

#include <QString>

namespace orvanel {

/// What the database in a data folder says of the conversion that Uptime Kuma 2 makes before its first start on data of
/// an older version. Source: Uptime Kuma 2.5.3, whose setting "migrateAggregateTableState" keeps it.
enum class DataVersion {
    unknown,    ///< no database, or none that can be read
    old,        ///< not converted yet
    converting, ///< a conversion began and did not end: no server starts on it
    converted,
};

/// Reads the database in the folder with the log beside it, and changes nothing there. Throws AppError if the
/// installation lacks the reader. Blocks; any thread.
DataVersion dataVersionOf(const QString& folder);

} // namespace orvanel
