#pragma once

#include "process/CommandResult.h"

#include <QStringList>

namespace orvanel::test {

/// What a ControllerWatch knows about the setup of the runtime, which may run beside an operation.
class SetupWatch {
public:
    /// Call these before and after a request for a setup: a command that begins in between belongs to the setup.
    void willRequest() { m_isInfoNext = true; }
    void didRequest() { m_isInfoNext = false; }
    void willCancel() { m_isCancelled = true; }

    bool isUnderWay() const { return !m_underWay.isEmpty(); }
    /// Whether a command that begins now belongs to the setup and not to an operation.
    bool owns(const QString& command) const;
    /// Returns the rule that is broken; empty if none is. `isCancelled`: the command was given a cancelled handle.
    [[nodiscard]] QString commandBegins(const QString& command, bool isCancelled);
    void commandEnds(const CommandResult& result);
    /// Call it when no step of the setup is shown any more.
    void stepsEnded();

private:
    QStringList m_commands;
    QString m_underWay;
    /// Operations run the same "info" command, so only the moment tells who runs it.
    bool m_isInfoNext = false;
    bool m_isCancelled = false;
};

} // namespace orvanel::test
