#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <variant>

namespace orvanel {

/// The newest release of Uptime Kuma, as its project publishes it.
struct LatestRelease {
    /// The release's tag, without one leading lower-case "v" and otherwise unchanged.
    QString version;
    /// The address of the release's page, unchanged; none if the answer has none.
    std::optional<QString> page = {};

    bool operator==(const LatestRelease&) const = default;
};

/// Why the newest release is not known: one sentence for the user.
struct ReleaseError {
    QString message;

    bool operator==(const ReleaseError&) const = default;
};

using ReleaseResult = std::variant<LatestRelease, ReleaseError>;

/// Reads the newest release from the answer of the release endpoint: its HTTP status (0 if it is not HTTP) and its
/// body.
ReleaseResult readRelease(int status, const QByteArray& body);

/// The sentence for an answer that did not arrive, or not completely. `description` says why and ends with a full stop.
ReleaseError transferError(const QString& description);

} // namespace orvanel
