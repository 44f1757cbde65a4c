#pragma once

#include "backup/Database.h"

#include <QString>

namespace orvanel {

class WorkFolder;

/// Copies the data folder, on which a server may be working, to `name` in `work`, and waits until the copy is on the
/// disk. What has not changed since `earlier`, a copy of it or empty, is shared with that; see shareFile(). Returns the
/// result of checking the copied database. Throws a file error. Blocks; any thread.
DatabaseCheck copyData(const QString& dataDir, const WorkFolder& work, const QString& name,
                       const QString& earlier = {});

} // namespace orvanel
