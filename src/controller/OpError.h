#pragma once

#include <QString>

namespace orvanel {

/// Why the last operation failed.
struct OpError {
    /// One sentence for the user.
    QString message;
    /// The raw output or explanation behind it; may be empty.
    QString details;

    bool operator==(const OpError&) const = default;
};

} // namespace orvanel
