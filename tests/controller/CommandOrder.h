#pragma once

#include <QStringList>

namespace orvanel::test {

/// Which commands may follow each other. They have the names that Command::name() gives.

bool isPull(const QString& command);
bool bringsUp(const QString& command);

/// Whether the operation with that label may have run these commands so far.
bool mayOperationRun(const QString& label, const QStringList& commands);
/// The same for a setup of the runtime.
bool maySetupRun(const QStringList& commands);

} // namespace orvanel::test
