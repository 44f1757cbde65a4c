#pragma once

#include <QStringList>

namespace orvanel::test {

/// Which commands may follow each other; they are named as Command::name() does.

bool isPull(const QString& command);
bool bringsUp(const QString& command);

/// Whether the operation with that label may have run these commands so far.
bool mayOperationRun(const QString& label, const QStringList& commands);
/// The same for a setup of the runtime.
bool maySetupRun(const QStringList& commands);

} // namespace orvanel::test
