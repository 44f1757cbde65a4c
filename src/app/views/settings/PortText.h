#pragma once

#include <QString>

#include <optional>

namespace orvanel {

/// The ports that a server of the user's own can have; the settings take no other.
inline constexpr int lowestPort = 1024;
inline constexpr int highestPort = 65535;

/// The port that is typed, in plain digits, or none. Blanks around it do not count.
std::optional<int> portFrom(const QString& typed);

/// Whether more digits could make a port of it.
bool mayBecomePort(const QString& typed);

} // namespace orvanel
