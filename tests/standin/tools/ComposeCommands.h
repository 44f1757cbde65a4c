#pragma once

#include "Answer.h"
#include "Host.h"

namespace orvanel::standin {

/// `docker compose …` with a daemon that is there or refuses. Everything it says goes to standard error.
Answer answerCompose(DockerState& state, const Arguments& arguments, Host& host);

/// The answer without the plug-in, which docker takes for a mistyped command or flag.
Answer answerWithoutCompose(const DockerState& state, const Arguments& arguments);

} // namespace orvanel::standin
