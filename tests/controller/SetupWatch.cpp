#include "SetupWatch.h"

#include "CommandOrder.h"

using namespace Qt::StringLiterals;

namespace orvanel::test {

bool SetupWatch::owns(const QString& command) const {
    return command == u"brew install" || command == u"colima start" || command == u"ps" || command == u"journalctl" ||
           command.startsWith(u"pkexec"_s) || (command == u"info" && m_isInfoNext);
}

QString SetupWatch::commandBegins(const QString& command, bool isCancelled) {
    if (isUnderWay()) {
        return u"%1 begins while %2 of a setup is under way"_s.arg(command, m_underWay);
    }
    const bool isAfterInstall = command == u"info" && m_commands == QStringList(u"brew install"_s);
    // Nothing but a start of the service begins with this question.
    const bool isOfService = command == u"ps" && m_commands == QStringList(u"info"_s);
    const bool isFirst = command == u"brew install" || command.startsWith(u"pkexec"_s) || isOfService ||
                         (command == u"info" && !isAfterInstall);
    if (isFirst) {
        m_commands.clear();
        m_isCancelled = false;
    }
    m_isInfoNext = false;
    m_commands.append(command);
    m_underWay = command;
    if (!maySetupRun(m_commands)) {
        return u"a setup runs %1"_s.arg(m_commands.join(u", "_s));
    }
    if (m_isCancelled && command == u"colima start" && !isCancelled) {
        return u"Colima is started though the setup was cancelled"_s;
    }
    return {};
}

void SetupWatch::commandEnds(const CommandResult& result) {
    m_isInfoNext = m_underWay == u"brew install" && result.isSuccess();
    m_underWay.clear();
}

void SetupWatch::stepsEnded() {
    m_isInfoNext = false;
    m_commands.clear();
}

} // namespace orvanel::test
