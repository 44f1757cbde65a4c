#pragma once

#include <QString>

namespace orvanel {

/// The address of the engine that the docker tool names in what it says, such as "unix:///var/run/docker.sock"; empty
/// without one.
QString engineAddress(const QString& output);

/// Whether it is the socket of the system's Docker. Also for an empty address: the tool asks there when it is not told
/// otherwise.
bool isSystemEngine(const QString& address);

/// Whether it is the socket of a Docker that runs as the user.
bool isUsersEngine(const QString& address);

} // namespace orvanel
