#pragma once

#include "Answer.h"
#include "Host.h"

#include <string>

namespace orvanel::standin {

/// Answers docker's own commands, with a daemon that answers or refuses. `name` is a result of commandName().
Answer answerPlain(const std::string& name, DockerState& state, const Arguments& arguments, Host& host);

} // namespace orvanel::standin
