#pragma once

#include "Answer.h"
#include "Host.h"

namespace orvanel::standin {

/// Answers for podman under docker's name; `name` is that of commandName().
Answer answerPodman(const std::string& name, DockerState& state, const Arguments& arguments, Host& host);

} // namespace orvanel::standin
