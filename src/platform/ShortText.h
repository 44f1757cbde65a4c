#pragma once

#include <QString>

namespace orvanel {

/// The beginning of `text` and "…", where it is longer than `longest`; no character is cut in two.
QString shortened(const QString& text, qsizetype longest);

} // namespace orvanel
