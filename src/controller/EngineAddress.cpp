#include "controller/EngineAddress.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace orvanel {

/// The end of a sentence may follow it. Only a quoted web address is an engine's: a warning may name a page before it.
QString engineAddress(const QString& output) {
    static const QRegularExpression address(uR"((?:(?:unix|tcp|ssh)|(?<=")https?)://[^\s"']*[^\s"'.,:;])"_s);
    return address.match(output).captured();
}

bool isSystemEngine(const QString& address) {
    return address.isEmpty() || address == u"unix:///var/run/docker.sock"_s || address == u"unix:///run/docker.sock"_s;
}

bool isUsersEngine(const QString& address) {
    return address.startsWith(u"unix:///run/user/"_s);
}

} // namespace orvanel
