#pragma once

#include <QByteArray>
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

/// The newest release in the answer of the release endpoint: its HTTP status (0 when it is not HTTP) and its body.
ReleaseResult readRelease(int status, const QByteArray& body);

/// The sentence for an answer that never came, or never wholly. `description` says why and ends with a full stop.
ReleaseError transferError(const QString& description);

} // namespace orvanel
