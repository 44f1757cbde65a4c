#include "controller/DatabaseError.h"

namespace orvanel {

std::optional<OpError> databaseError(const std::optional<BackupResult>& backup) {
    if (!backup || !backup->databaseProblem) {
        return std::nullopt;
    }
    return OpError{QStringLiteral("The backup was made, but its database did not pass a check."),
                   *backup->databaseProblem};
}

} // namespace orvanel
