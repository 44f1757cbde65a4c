#include "controller/PermissionDenied.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// A warning about an unreadable configuration file also says "permission denied", so only lines about the socket
/// count.
bool isAboutTheSocket(const QString& line) {
    return line.contains(u"while trying to connect to the docker"_s) || line.contains(u"connect: permission denied"_s);
}

} // namespace

bool isPermissionDenied(const QString& output) {
    const QStringList lines = output.toLower().split(u'\n');
    return std::any_of(lines.begin(), lines.end(), [](const QString& line) {
        return line.contains(u"permission denied"_s) && isAboutTheSocket(line);
    });
}

} // namespace orvanel
