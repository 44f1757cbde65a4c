#pragma once

#include "controller/ControllerState.h"
#include "process/CommandResult.h"

namespace orvanel {

/// The docker tool's answer to the question for the container's state: the last line of its output that is not empty,
/// without blanks around it. The tool may print warnings before its answer, and both streams arrive merged.
QString stateWord(const QString& output);

/// Whether the container with this state word has its port: it runs, or Docker has paused it.
bool holdsPort(const std::optional<QString>& word);

/// Whether Docker has paused the container.
bool isPausedWord(const std::optional<QString>& word);

/// Whether a command that failed was answered all the same: the daemon said that there is no such container.
bool saysNoContainer(const QString& output);

/// Whether the container is known not to exist. Also false if the answer says nothing about it.
bool isAbsent(const CommandResult& answer);

/// Whether the container is known to have no process any more, because it has ended or does not exist. Also false if
/// the answer says nothing about it.
bool isStopped(const CommandResult& answer);

/// Whether the data folder may be replaced or deleted after this answer. That is so if no server can be using it: the
/// container is stopped, the daemon says explicitly that there is no such container, or there is no daemon that could
/// run it. False if the answer says nothing about it: the tool was refused, did not answer in time, or does not work.
bool leavesDataAlone(const CommandResult& answer);

/// Whether compose complains that another container, not its own, already has the container's name.
bool saysNameIsTaken(const CommandResult& answer);

/// The error to show when leavesDataAlone() is false. `consequence` is the sentence that says what was not done.
OpError unknownContainerError(const CommandResult& answer, const QString& consequence);

} // namespace orvanel
