#pragma once

#include <QString>

#include <optional>

namespace orvanel {

/// The commands for a shell that make the engine at `dockerHost`, the session's DOCKER_HOST, the one that the docker
/// tool uses without that variable, as Orvanel starts it. None if there is no such variable, or if `complaint`, what
/// the tool said when no runtime answered, is not about Docker's default place, so that another context is in use
/// already.
std::optional<QString> contextCommand(const QString& dockerHost, const QString& complaint);

} // namespace orvanel
