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
    const DockerComplaint complaint = complaintOf(result);
    Failure failure = failed(sentenceOf(complaint), result.output.isEmpty() ? u"(no output)"_s : result.output);
    // The docker tool says this if the engine goes away while it works on the answer.
    const bool isCutOff = result.output.contains(u"error during connect"_s);
    if (complaint == DockerComplaint::notRunning || isCutOff) {
        failure.error.kind = ErrorKind::dockerSilent;
    }
    return failure;
}

Failure failed(const std::exception& thrown) {
    return failed(u"Orvanel hit an internal error."_s, QString::fromUtf8(thrown.what()));
}

} // namespace orvanel
