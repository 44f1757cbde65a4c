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

} // namespace orvanel
