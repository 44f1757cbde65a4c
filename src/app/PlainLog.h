#pragma once

#include <QString>

namespace orvanel {

/// A program's output as plain text that is safe to show, copy and save. Terminal escape sequences, whole or cut off,
/// bidirectional controls and other control characters are removed, and every kind of line end becomes a line feed.
/// Tabs stay, and so does all other text, unless it starts like the rest of a sequence that was cut off.
QString plainLog(const QString& text);

} // namespace orvanel
