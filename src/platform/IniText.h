#pragma once

#include <QByteArray>

namespace orvanel {

/// Whether QSettings can safely read the whole text of an INI file. It can if the text is UTF-8, each line is complete
/// in itself, and none contains a serialised object (`@Variant(…)`, `@DateTime(…)`). Qt would read an object without
/// checking the sizes that it claims, so that a line of thirty characters could take gigabytes.
bool isHarmlessIni(const QByteArray& text);

/// The same text without the lines that are not safe.
QByteArray harmlessIniLines(const QByteArray& text);

} // namespace orvanel
