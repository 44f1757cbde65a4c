#include "controller/Outcome.h"

#include "process/DockerComplaint.h"

using namespace Qt::StringLiterals;

namespace orvanel {

Failure failed(const QString& message, const QString& details) {
    return {.error = {message, details}};
}

Failure failed(const CommandResult& result) {
    if (result.cancelled) {
        return failed(u"Cancelled."_s, result.output);
    }
    return failed(sentenceOf(complaintOf(result)), result.output.isEmpty() ? u"(no output)"_s : result.output);
}

Failure failed(const std::exception& thrown) {
    return failed(u"Orvanel hit an internal error."_s, QString::fromUtf8(thrown.what()));
}

} // namespace orvanel
