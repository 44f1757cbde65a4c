#pragma once

#include "Answer.h"
#include "Host.h"

#include <string>

namespace orvanel::standin {

/// The commands of docker itself, `name` being one of commandName(), with a daemon that is there or refuses.
Answer answerPlain(const std::string& name, DockerState& state, const Arguments& arguments, Host& host);

} // namespace orvanel::standin
