#pragma once

#include "process/CommandResult.h"

namespace orvanel {

/// What a failed docker command complained about, as far as it makes a difference to people.
enum class DockerComplaint {
    noAnswer,
    portTaken,
    diskFull,
    noInternet,
    notRunning,
    other,
};

/// A time limit that was reached comes first, whatever the output says; then the output is searched for Docker's own
/// phrases, in the order above.
DockerComplaint complaintOf(const CommandResult& result);

/// One sentence for the user. It never quotes the output.
QString sentenceOf(DockerComplaint complaint);

} // namespace orvanel
