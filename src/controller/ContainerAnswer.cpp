#include "controller/ContainerAnswer.h"

#include "controller/PermissionDenied.h"
#include "process/DockerCLI.h"

#include <QStringList>

#include <algorithm>

namespace orvanel {

QString stateWord(const QString& output) {
    const QStringList lines = output.trimmed().split(QLatin1Char('\n'));
    return lines.last().trimmed();
}

bool saysNoContainer(const QString& output) {
    const QString text = output.toLower();
    return text.contains(QStringLiteral("no such object")) || text.contains(QStringLiteral("no such container")) ||
           text.contains(QStringLiteral("not found"));
}

bool isAbsent(const CommandResult& answer) {
    return answer.status != 0 && !answer.timedOut && !answer.cancelled && saysNoContainer(answer.output);
}

bool isStopped(const CommandResult& answer) {
    if (!answer.isSuccess()) {
        return isAbsent(answer);
    }
    const QStringList ended{QStringLiteral("created"), QStringLiteral("exited"), QStringLiteral("dead")};
    return ended.contains(stateWord(answer.output));
}

bool leavesDataAlone(const CommandResult& answer) {
    if (answer.isSuccess()) {
        return isStopped(answer);
    }
    if (answer.timedOut || answer.cancelled || isPermissionDenied(answer.output)) {
        return false;
    }
    const QString text = answer.output.toLower();
    // More than these may end in "not found": a context of the tool, a plug-in, the tool itself.
    const QStringList plain{QStringLiteral("no such object"), QStringLiteral("no such container"),
                            QStringLiteral("cannot connect to the docker daemon"),
                            QStringLiteral("failed to connect to the docker api")};
    return std::any_of(plain.begin(), plain.end(), [&text](const QString& words) { return text.contains(words); });
}

bool saysNameIsTaken(const CommandResult& answer) {
    const bool hasFailed = answer.status != 0 && !answer.timedOut && !answer.cancelled;
    return hasFailed && answer.output.contains(QStringLiteral("The container name \"/orvanel\" is already in use"));
}

OpError unknownContainerError(const CommandResult& answer, const QString& consequence) {
    const bool hasWords = !answer.timedOut && !answer.output.isEmpty();
    return {QStringLiteral("Could not make sure that Uptime Kuma is stopped. ") + consequence,
            hasWords ? answer.output : DockerCLI::friendlyMessage(answer.output, answer.timedOut)};
}

} // namespace orvanel
