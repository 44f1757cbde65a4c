#pragma once

#include "release/ReleaseResult.h"

#include <QByteArray>

namespace orvanel {

/// The newest release in the answer of the release endpoint: its HTTP status (0 when it is not HTTP) and its body.
ReleaseResult readRelease(int status, const QByteArray& body);

/// The sentence for an answer that never came, or never wholly. `description` says why and ends with a full stop.
ReleaseError transferError(const QString& description);

} // namespace orvanel
