#pragma once

#include "DockerState.h"

#include <string>

/// Docker's own messages, as far as several commands print them. Each ends with a line end.
namespace orvanel::standin::words {

std::string cannotConnect();
std::string permissionDenied();
std::string noSuchContainer(Client client, const std::string& name);
std::string noSuchImage(Client client, const std::string& reference);
std::string nameConflict(const Container& holder);
std::string portTaken(PortHolder holder, const Container& container, const std::string& seed);
std::string cannotPull(const DockerState& state, const std::string& reference);
std::string unknownCommand(Client client, const std::string& command);
std::string unknownFlag(Client client, const std::string& flag, const std::string& command);

/// The message of `docker run` for an error of the daemon.
std::string runFailed(Client client, const std::string& error);

} // namespace orvanel::standin::words
