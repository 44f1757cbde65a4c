#pragma once

#include "controller/DockerKind.h"

#include <QString>

#include <optional>

namespace orvanel {

/// The official image repository of the Uptime Kuma project, without a tag.
QString imageRepository();

/// The full name of the image with this tag: repository, colon, tag. So the user knows it.
QString imageReference(const QString& tag);

/// The same as that tool must be asked for it. As distributions set podman up, it does not know which registry a name
/// without one belongs to.
QString imageReference(const QString& tag, DockerKind kind);

/// The text of the compose file. Its one service is Uptime Kuma, published on 127.0.0.1 only, with the folder "data"
/// beside the file as its data folder.
QString composeText(const QString& imageTag, int port, DockerKind kind = DockerKind::docker);

/// The places of Uptime Kuma's data and the files around it: the folder "Orvanel" in the user's application-support
/// folder.
class ContainerFiles {
public:
    explicit ContainerFiles(const QString& applicationSupport);

    /// Uptime Kuma's data, mounted into the container.
    QString dataDir() const;
    /// The automatic backups, and the data that a restore has replaced.
    QString backupsDir() const;
    QString composeFile() const;

    /// Creates the data folder, and writes the compose file if its text differs. Returns the description of the
    /// failure, or none after success.
    std::optional<QString> prepare(const QString& imageTag, int port, DockerKind kind = DockerKind::docker) const;

private:
    QString m_folder;
};

} // namespace orvanel
