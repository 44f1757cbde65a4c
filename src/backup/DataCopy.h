#pragma once

#include "backup/Database.h"

#include <QString>

namespace orvanel {

class WorkFolder;

/// Copies the data folder, on which a server may be at work, to `name` in `work`, and waits until the copy is on the
/// disk. Returns what came of the check of the copied database. Throws what the platform says. Blocks; any thread.
DatabaseCheck copyData(const QString& dataDir, const WorkFolder& work, const QString& name);

} // namespace orvanel
