#include "controller/DatabaseError.h"

using namespace Qt::StringLiterals;

namespace orvanel {

std::optional<OpError> databaseError(const std::optional<BackupResult>& backup) {
    if (backup && backup->databaseProblem) {
        return OpError{u"The backup was made, but its database did not pass a check."_s,
                       u"%1\n\nThe backup is\n%2"_s.arg(*backup->databaseProblem, backup->path)};
    }
    if (backup && backup->databaseNotChecked) {
        return OpError{u"The backup was made, but its database could not be checked."_s,
                       u"%1\n\nThe backup is\n%2"_s.arg(*backup->databaseNotChecked, backup->path)};
    }
    return std::nullopt;
}

} // namespace orvanel
