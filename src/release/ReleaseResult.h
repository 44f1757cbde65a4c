#pragma once

#include <QString>

#include <optional>
#include <variant>

namespace orvanel {

/// The newest release of Uptime Kuma, as its project publishes it.
struct LatestRelease {
    /// Its tag, without one leading lower-case "v"; whatever else the project wrote there.
    QString version;
    /// The address of its page, as it stands; none when the project told none.
    std::optional<QString> page = {};

    bool operator==(const LatestRelease&) const = default;
};

/// Why the newest release is not known: one sentence for the user.
struct ReleaseError {
    QString message;

    bool operator==(const ReleaseError&) const = default;
};

using ReleaseResult = std::variant<LatestRelease, ReleaseError>;

} // namespace orvanel
