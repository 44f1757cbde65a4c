#pragma once

#include "Answer.h"
#include "DockerState.h"
#include "Host.h"

#include <optional>
#include <string>

/// What the daemon does, whichever command asks for it.
namespace orvanel::standin::engine {

/// Does what the daemon has done by itself since the last command: starts a dead server again, if its restart
/// policy says so.
void catchUp(DockerState& state, Host& host);

/// Looks at the container, and returns its state word.
std::string look(DockerState& state);

/// Makes a container without starting it.
void create(DockerState& state, Container container);

/// Starts the container. Returns the daemon's error if it cannot; a new container then stays "created".
std::optional<std::string> start(DockerState& state, Host& host);

/// Begins to stop the container, and returns the process that must end first.
ServerProcess beginStop(DockerState& state, Host& host);
/// Ends the stop of the container with that id, unless something else has happened to it meanwhile.
void endStop(DockerState& state, const std::string& id, Host& host);

/// Removes the container, running or not, with its log.
void remove(DockerState& state, Host& host);

/// The id of the image that the registry has under that name.
std::optional<std::string> inRegistry(const DockerState& state, const std::string& reference);

/// Whether the image would have to be downloaded now.
bool isNewer(const DockerState& state, const std::string& reference);

/// How long a container without a server process takes to stop, in milliseconds at pace 1.
double stopTime(const DockerState& state);

} // namespace orvanel::standin::engine
