#pragma once

#include "controller/ControllerState.h"
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

/// Whether the data folder may be replaced or deleted after this answer: no server can be at work on it, because the
/// container is stopped, the daemon says in so many words that there is no such container, or there is no daemon that
/// could run it. False when the answer tells nothing: the tool was refused, did not answer in time or has a fault.
bool leavesDataAlone(const CommandResult& answer);

/// Whether compose found the name of the container borne by one that is not its own.
bool saysNameIsTaken(const CommandResult& answer);

/// What the user is told when leavesDataAlone() is false. `consequence` is the sentence that says what was not done.
OpError unknownContainerError(const CommandResult& answer, const QString& consequence);

} // namespace orvanel
