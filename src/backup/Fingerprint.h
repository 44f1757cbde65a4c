#pragma once

#include <QString>

namespace orvanel {

/// A hash over the names and contents of everything in a folder, whatever its dates, owners and permissions: two
/// folders with the same one hold the same. Throws a file error. Blocks; any thread.
QString fingerprintOf(const QString& folder);

} // namespace orvanel
