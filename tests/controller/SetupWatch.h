#pragma once

#include "process/CommandResult.h"

#include <QStringList>

namespace orvanel::test {

/// What a ControllerWatch knows about the setup of the runtime, which runs beside the operations.
class SetupWatch {
public:
    /// Around a request for a setup: what begins in between belongs to it.
    void willRequest() { m_isInfoNext = true; }
    void didRequest() { m_isInfoNext = false; }
    void willCancel() { m_isCancelled = true; }

    bool isUnderWay() const { return !m_underWay.isEmpty(); }
    /// Whether a command that begins now is one of the setup, and not of an operation.
    bool owns(const QString& command) const;
    /// The rule that is broken; empty when all hold. `isCancelled`: the command was given a cancelled handle.
    [[nodiscard]] QString commandBegins(const QString& command, bool isCancelled);
    void commandEnds(const CommandResult& result);
    /// No step is shown any more.
    void stepsEnded();

private:
    QStringList m_commands;
    QString m_underWay;
    /// The operations ask for the same information: only the moment tells whose question it is.
    bool m_isInfoNext = false;
    bool m_isCancelled = false;
};

} // namespace orvanel::test
