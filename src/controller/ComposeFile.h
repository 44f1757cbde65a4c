#pragma once

#include <QString>

namespace orvanel {

/// The Uptime Kuma project's official image repository, without tag.
QString imageRepository();

/// The text of the compose file that describes the one service: Uptime Kuma, published on 127.0.0.1 only, with the
/// folder "data" beside the file as its data folder.
QString composeText(const QString& imageTag, int port);

} // namespace orvanel
