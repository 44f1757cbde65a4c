#pragma once

#include "Answer.h"
#include "Host.h"

namespace orvanel::standin {

/// Answers `docker compose …`, with a daemon that answers or refuses. All output goes to standard error.
Answer answerCompose(DockerState& state, const Arguments& arguments, Host& host);

/// Answers without the plug-in, as docker does: it takes "compose" for a mistyped command or flag.
Answer answerWithoutCompose(const DockerState& state, const Arguments& arguments);

} // namespace orvanel::standin
