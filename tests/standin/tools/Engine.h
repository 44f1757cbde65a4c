#pragma once

#include "Answer.h"
#include "DockerState.h"
#include "Host.h"

#include <optional>
#include <string>

/// What the daemon does behind the commands.
namespace orvanel::standin::engine {

/// Notices what happened by itself since the last command: a server that died is started again where its restart policy
/// says so.
void catchUp(DockerState& state, Host& host);

/// The container's state word at this look.
std::string look(DockerState& state);

/// Makes a container that is not started yet.
void create(DockerState& state, Container container);

/// Starts the container; the error of the daemon when it cannot, in which case a new one stays "created".
std::optional<std::string> start(DockerState& state, Host& host);

/// Begins to stop the container and says which process must be gone before it has stopped.
ServerProcess beginStop(DockerState& state, Host& host);
/// Ends the stop of the container with that id, unless it went another way meanwhile.
void endStop(DockerState& state, const std::string& id, Host& host);

/// Removes the container, running or not, with its log.
void remove(DockerState& state, Host& host);

/// What the registry has under that name: an image id.
std::optional<std::string> inRegistry(const DockerState& state, const std::string& reference);

/// Whether that image would have to be downloaded now.
bool isNewer(const DockerState& state, const std::string& reference);

/// How long a container takes to stop, in milliseconds at pace 1, when no server plays it.
double stopTime(const DockerState& state);

} // namespace orvanel::standin::engine
