#include "controller/ContainerAnswer.h"

#include <QStringList>

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

} // namespace orvanel
