#pragma once

#include "Answer.h"
#include "Host.h"

namespace orvanel::standin {

/// `brew install colima docker`.
Answer answerBrewInstall(DockerState& state, Host& host);

/// `colima start`.
Answer answerColimaStart(DockerState& state);

/// The root helper, asked through pkexec to install Docker with apt-get, start it and let the user in.
Answer answerInstall(DockerState& state, Host& host);

/// The root helper, asked to let the user in.
Answer answerJoin(DockerState& state);

/// The last lines that Docker's service wrote into the system's log.
Answer answerJournal();

} // namespace orvanel::standin
