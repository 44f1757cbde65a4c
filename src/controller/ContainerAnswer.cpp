#include "controller/ContainerAnswer.h"

#include "controller/PermissionDenied.h"
#include "process/DockerCLI.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel {

QString stateWord(const QString& output) {
    const QStringList lines = output.trimmed().split(u'\n');
    return lines.last().trimmed();
}

bool holdsPort(const std::optional<QString>& word) {
    return word == u"running"_s || isPausedWord(word);
}

bool isPausedWord(const std::optional<QString>& word) {
    return word == u"paused"_s;
}

bool saysNoContainer(const QString& output) {
    const QString text = output.toLower();
    return text.contains(u"no such object"_s) || text.contains(u"no such container"_s) || text.contains(u"not found"_s);
}

bool isAbsent(const CommandResult& answer) {
    return answer.status != 0 && !answer.timedOut && !answer.cancelled && saysNoContainer(answer.output);
}

bool isStopped(const CommandResult& answer) {
    if (!answer.isSuccess()) {
        return isAbsent(answer);
    }
    const QStringList ended{u"created"_s, u"exited"_s, u"dead"_s};
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
    // Other messages may end in "not found" as well: about a context of the tool, a plug-in, or the tool itself.
    const QStringList plain{u"no such object"_s, u"no such container"_s, u"cannot connect to the docker daemon"_s,
                            u"failed to connect to the docker api"_s};
    return std::any_of(plain.begin(), plain.end(), [&text](const QString& words) { return text.contains(words); });
}

bool saysNameIsTaken(const CommandResult& answer) {
    const bool hasFailed = answer.status != 0 && !answer.timedOut && !answer.cancelled;
    // In Docker's words, and in those of podman's service.
    const QStringList words{u"the container name \"/orvanel\" is already in use"_s,
                            u"the container name \"orvanel\" is already in use"_s};
    const QString text = answer.output.toLower();
    return hasFailed &&
           std::any_of(words.begin(), words.end(), [&text](const QString& one) { return text.contains(one); });
}

OpError unknownContainerError(const CommandResult& answer, const QString& consequence) {
    const bool hasWords = !answer.timedOut && !answer.output.isEmpty();
    return {u"Could not make sure that Uptime Kuma is stopped. "_s + consequence,
            hasWords ? answer.output : DockerCLI::friendlyMessage(answer.output, answer.timedOut)};
}

} // namespace orvanel
