#pragma once

#include "Answer.h"
#include "Surroundings.h"

namespace orvanel::standin {

/// `brew install colima docker`.
Answer answerBrewInstall(DockerState& state, Surroundings& surroundings);

/// `colima start`.
Answer answerColimaStart(DockerState& state);

} // namespace orvanel::standin
