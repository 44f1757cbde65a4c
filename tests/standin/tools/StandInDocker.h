#pragma once

#include "Answer.h"
#include "DockerState.h"
#include "Host.h"

#include <optional>
#include <string>

namespace orvanel::standin {

/// The command in a call of "docker", "brew", "colima", "pkexec" or "journalctl", as overrides name it: "info",
/// "compose version", "inspect", "stop", "unpause", "rm", "logs", "end of the log", "image inspect", "pull", "run",
/// "ps", "compose pull", "compose up", "compose stop", "compose down", "brew install", "colima start", "pkexec
/// install", "pkexec join", "journalctl". None for a call that the stand-in does not know, such as a command that
/// Orvanel never issues.
std::optional<std::string> commandName(const std::string& tool, const Arguments& arguments);

/// Answers for a tool, with the words, streams and exit codes of the real one; of a chain, returns the first answer.
/// Looks at nothing but its arguments. `host` must outlive the chain.
Answer answer(const std::string& tool, DockerState& state, const Arguments& arguments, Host& host);

} // namespace orvanel::standin
