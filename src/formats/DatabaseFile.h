#pragma once

#include "formats/FileFormats.h"

namespace orvanel {

/// See FileFormats::checkDatabase.
DatabaseCheck checkDatabaseFile(const QString& database);

/// See FileFormats::readSetting.
std::optional<QByteArray> readSetting(const QString& database, const QByteArray& key);

} // namespace orvanel
