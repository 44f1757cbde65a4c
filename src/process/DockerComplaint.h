#pragma once

#include "process/CommandResult.h"

namespace orvanel {

/// Why a docker command failed, as far as it makes a difference to the user.
enum class DockerComplaint {
    noAnswer,
    portTaken,
    diskFull,
    noInternet,
    notRunning,
    other,
};

/// A command that timed out gave no answer, whatever its output says. Otherwise the output is searched for Docker's own
/// phrases, in the order above.
DockerComplaint complaintOf(const CommandResult& result);

/// One sentence for the user. It never quotes the output.
QString sentenceOf(DockerComplaint complaint);

} // namespace orvanel
