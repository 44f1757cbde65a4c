#pragma once

#include "process/CommandResult.h"

namespace orvanel {

/// What the docker tool answered when it was asked for the container's state: the last line of its output that is not
/// empty, without blanks around it. The tool may print warnings before its answer, and both streams arrive merged.
QString stateWord(const QString& output);

/// Whether a failed question got an answer all the same: the daemon told that there is no such container.
bool saysNoContainer(const QString& output);

/// Whether the container is known to be absent; false also when the answer tells nothing.
bool isAbsent(const CommandResult& answer);

/// Whether the container is known to have no process any more, because it has ended or is absent; false also when the
/// answer tells nothing.
bool isStopped(const CommandResult& answer);

} // namespace orvanel
