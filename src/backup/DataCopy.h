#pragma once

#include <QString>

#include <optional>

namespace orvanel {

class WorkFolder;

/// Copies the data folder, on which a server may be at work, to `name` in `work`, and waits until the copy is on the
/// disk. Its result is what the check of the copied database complained about. Throws what the platform says. Blocks;
/// any thread.
std::optional<QString> copyData(const QString& dataDir, const WorkFolder& work, const QString& name);

} // namespace orvanel
