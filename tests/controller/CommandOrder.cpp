#include "CommandOrder.h"

#include <QMap>
#include <QRegularExpression>

namespace orvanel::test {
namespace {

/// The commands of an operation in the orders that are allowed, each followed by a semicolon; any of them may be the
/// last.
QString allowedOrder(const QString& label) {
    auto stop = QStringLiteral("(inspect;(compose version;)?((inspect;)?(compose stop;(inspect;)?)?(stop;)?)?)?");
    // A container that is not compose's own has to go first.
    auto bringUp =
        QStringLiteral("(compose version;)?(compose up;(inspect mounts;(rm;(compose up;)?)?)?|(rm;)?(run;)?)?");
    auto start = QStringLiteral("(info;(inspect;(image inspect;((compose version;)?(compose pull;|pull;))?") + bringUp +
                 QStringLiteral(")?)?)?");
    if (label.startsWith(QStringLiteral("Starting"))) {
        return start;
    }
    if (label.startsWith(QStringLiteral("Stopping"))) {
        return stop;
    }
    if (label.startsWith(QStringLiteral("Restarting"))) {
        return stop + start;
    }
    if (label.startsWith(QStringLiteral("Restoring"))) {
        // Whatever the stop found, one more look before the data is touched, and another for what came back meanwhile.
        return stop + QStringLiteral("(inspect;)?(inspect;)?") + stop + start;
    }
    if (label.startsWith(QStringLiteral("Updating"))) {
        return QStringLiteral("(compose version;)?((compose pull;|pull;)(inspect;") + bringUp + QStringLiteral(")?)?");
    }
    return QStringLiteral("(inspect;(compose version;)?(compose down;(inspect;(rm;)?)?|rm;)?)?");
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
    return fits(QStringLiteral("(brew install;)?(info;(colima start;(ps;){0,10})?)?"), commands);
}

} // namespace orvanel::test
