#pragma once

#include <QString>

namespace orvanel {

/// `log` with `chunk` at its end. A text that reaches 30,001 characters keeps only its last 20,000, because downloads
/// and installations can print without end; a surrogate pair is never cut in two.
QString appendCapped(QString log, const QString& chunk);

} // namespace orvanel
