#include "controller/PermissionDenied.h"

#include <QStringList>

#include <algorithm>

namespace orvanel {
namespace {

/// A warning about an unreadable configuration file says "permission denied" as well: only the socket counts.
bool isAboutTheSocket(const QString& line) {
    return line.contains(QStringLiteral("while trying to connect to the docker")) ||
           line.contains(QStringLiteral("connect: permission denied"));
}

} // namespace

bool isPermissionDenied(const QString& output) {
    const QStringList lines = output.toLower().split(QLatin1Char('\n'));
    return std::any_of(lines.begin(), lines.end(), [](const QString& line) {
        return line.contains(QStringLiteral("permission denied")) && isAboutTheSocket(line);
    });
}

} // namespace orvanel
