#pragma once

#include <QString>

#include <optional>

namespace orvanel {

/// Whether Docker accepts the text as an image's tag. Only such a text from outside may be put into the compose file or
/// a command line.
bool isValidImageTag(const QString& tag);

/// Whether the pinned tag and the newest version differ in their major version, the text before the first dot. False
/// while either has no such part.
bool isMajorChange(const QString& imageTag, const std::optional<QString>& latestVersion);

/// Whether `version` is older than the pinned tag. Only the numbers that both have are compared: 2.0.0 is not older
/// than the tag "2". False if either is no version, such as the tag "latest".
bool isOlderVersion(const QString& version, const QString& imageTag);

/// Whether the version of that tag converts the data of 1.x before it starts; false when the tag does not tell.
bool convertsOldData(const QString& imageTag);

} // namespace orvanel
