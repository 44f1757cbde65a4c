#pragma once

#include "process/AppError.h"

#include <QString>

#include <string>

namespace orvanel {

/// What the platform says of a failed call: "PATH: No space left on device". `code` is its errno.
AppError fileError(const QString& path, int code);
AppError fileError(const std::string& path, int code);

/// A path as it can be shown: control characters, which a stranger's archive may bring, are replaced.
QString shownPath(const QString& path);
QString shownPath(const std::string& path);

} // namespace orvanel
