#pragma once

#include <QString>

namespace orvanel {

/// A log that reaches this many characters is cut.
constexpr qsizetype cappedLogLimit = 30001;

/// `log` with `chunk` at its end. A text that reaches the limit keeps only its last 20,000, because downloads
/// and installations can print without end; a surrogate pair is never cut in two.
QString appendCapped(QString log, const QString& chunk);

} // namespace orvanel
