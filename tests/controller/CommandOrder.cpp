#include "CommandOrder.h"

#include <QMap>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

/// The orders in which an operation may run its commands. Each command is followed by a semicolon, and the operation
/// may end after any of them.
QString allowedOrder(const QString& label) {
    // Where the page does not answer as usual, whether the server converts its data.
    auto look = u"(inspect;(end of the log;)?)?"_s;
    auto stop = look + u"(inspect;(compose version;)?((inspect;)?(compose stop;(inspect;)?)?(stop;)?)?)?"_s;
    // A paused container must be unpaused first, and one that compose has not made must be removed.
    auto bringUp = u"(compose version;)?(unpause;(inspect;)?)?"
                   "(compose up;(inspect mounts;(rm;(compose up;)?)?)?|(rm;)?(run;)?)?"_s;
    auto start = u"(info;(inspect;(image inspect;((compose version;)?(compose pull;|pull;))?"_s + bringUp + u")?)?)?"_s;
    if (label.startsWith(u"Starting"_s)) {
        return start;
    }
    if (label.startsWith(u"Stopping"_s)) {
        return stop;
    }
    if (label.startsWith(u"Restarting"_s)) {
        return stop + start;
    }
    if (label.startsWith(u"Restoring"_s)) {
        // After the stop come one more look before the data is touched, and another for a server that came back
        // meanwhile.
        return stop + u"(inspect;)?(inspect;)?"_s + stop + start;
    }
    if (label.startsWith(u"Going back"_s)) {
        // The older image comes first.
        return u"(compose version;)?(image inspect;(pull;)?)?"_s + look + stop + u"(inspect;)?(inspect;)?"_s + stop +
               start;
    }
    if (label.startsWith(u"Updating"_s)) {
        return look + u"(compose version;)?((compose pull;|pull;)"_s + look + u"(inspect;"_s + bringUp + u")?)?"_s;
    }
    return look + u"(inspect;(compose version;)?(compose down;(inspect;(rm;)?)?|rm;)?)?"_s;
}

bool fits(const QString& allowed, const QStringList& commands) {
    static QMap<QString, QRegularExpression> expressions;
    if (!expressions.contains(allowed)) {
        expressions.insert(allowed, QRegularExpression(QRegularExpression::anchoredPattern(allowed)));
    }
    return expressions.value(allowed).match(commands.join(u';') + u';').hasMatch();
}

} // namespace

bool isPull(const QString& command) {
    return command == u"pull" || command == u"compose pull";
}

bool bringsUp(const QString& command) {
    return command == u"compose up" || command == u"run";
}

bool mayOperationRun(const QString& label, const QStringList& commands) {
    return fits(allowedOrder(label), commands);
}

bool maySetupRun(const QStringList& commands) {
    return fits(u"(brew install;)?(info;(colima start;(ps;){0,10})?)?"
                "|pkexec install;(ps;){0,10}|pkexec join;(ps;)?|(ps;){0,90}(journalctl;)?"_s,
                commands);
}

} // namespace orvanel::test
