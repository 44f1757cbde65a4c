#pragma once

#include <QString>

#include <optional>

namespace orvanel {

/// Uptime Kuma converts its data for a new major version: for minutes or hours, in which nothing may stop it. An
/// interruption makes every later start on that data fail.
struct Conversion {
    /// How far it is, as the server says; none when the server tells nothing of it.
    std::optional<int> percent = {};

    bool operator==(const Conversion&) const = default;
};

/// One sentence for the user.
QString conversionSentence(const Conversion& conversion);

/// What the last lines of the container's log say of a conversion.
struct ConversionLog {
    /// The last thing that the server wrote of it.
    enum class Says {
        nothing,     ///< it has only just started, or wrote of other things
        converting,  ///< it is at work
        ended,       ///< it has converted the data, or had nothing to convert
        interrupted, ///< it found data whose conversion was interrupted, on which no server starts
    };

    Says says = Says::nothing;
    std::optional<int> percent = {};

    bool operator==(const ConversionLog&) const = default;
};

/// Reads the last lines of the log, colours and all. The lines that count are those of Uptime Kuma 2.5.3.
ConversionLog readConversionLog(const QString& log);

} // namespace orvanel
