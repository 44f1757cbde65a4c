#pragma once

#include <QString>

namespace orvanel {

/// A program's output as text that can be shown, copied and stored without doing anything: terminal escape sequences
/// (also one whose beginning or end was cut off), bidirectional controls and other control characters are taken out,
/// and every kind of line end is a line feed. Tabs stay. Other text stays as it is, unless
/// it begins like the rest of a sequence whose beginning was cut off.
QString plainLog(const QString& text);

} // namespace orvanel
