#pragma once

#include <QString>

namespace orvanel {

/// What the docker tool answered when it was asked for the container's state: the last line of its output that is not
/// empty, without blanks around it. The tool may print warnings before its answer, and both streams arrive merged.
QString stateWord(const QString& output);

/// Whether a failed question got an answer all the same: the daemon told that there is no such container.
bool saysNoContainer(const QString& output);

} // namespace orvanel
