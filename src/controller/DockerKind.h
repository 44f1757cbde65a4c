#pragma once

#include <QString>

namespace orvanel {

/// Which program answers under the name docker.
enum class DockerKind { docker, podman };

/// The kind of the tool that answered `docker info` in this way. A docker tool that talks to podman's service is
/// Docker's own.
DockerKind kindByInfo(const QString& output);

/// The kind of the tool that answered `docker compose version` in this way, as far as that answer tells.
DockerKind kindByComposeVersion(const QString& output);

/// Whether `docker compose version` was answered by Docker's compose. What podman calls compose may be another program,
/// which succeeds even where its commands fail.
bool isDockerCompose(const QString& output);

/// The output without the line that podman's docker script prints before each answer.
QString withoutPodmansNotice(const QString& output);

} // namespace orvanel
