#pragma once

#include "Answer.h"
#include "Host.h"

namespace orvanel::standin {

/// `brew install colima docker`.
Answer answerBrewInstall(DockerState& state, Host& host);

/// `colima start`.
Answer answerColimaStart(DockerState& state);

} // namespace orvanel::standin
