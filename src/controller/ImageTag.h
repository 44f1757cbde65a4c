#pragma once

#include <QString>

#include <optional>

namespace orvanel {

/// Whether Docker takes it for an image's tag. Only such a text may come from outside into the compose file and a
/// command line.
bool isValidImageTag(const QString& tag);

/// Whether moving from the pinned tag to the newest version crosses a major version: their parts before the first dot
/// differ as texts. False while either has no such part.
bool isMajorChange(const QString& imageTag, const std::optional<QString>& latestVersion);

} // namespace orvanel
