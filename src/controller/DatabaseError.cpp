#include "controller/DatabaseError.h"

using namespace Qt::StringLiterals;

namespace orvanel {

std::optional<OpError> databaseError(const std::optional<BackupResult>& backup) {
    if (!backup || !backup->databaseProblem) {
        return std::nullopt;
    }
    return OpError{u"The backup was made, but its database did not pass a check."_s, *backup->databaseProblem};
}

} // namespace orvanel
