#pragma once

#include <QByteArray>

namespace orvanel {

/// Whether QSettings can take the whole text of an INI file: UTF-8 in lines that each stand for themselves, and none
/// with a serialised object (`@Variant(…)`, `@DateTime(…)`). Qt reads those back without a look at the sizes they
/// claim, so that a line of thirty characters takes gigabytes.
bool isHarmlessIni(const QByteArray& text);

/// The same text without the lines for which that does not hold.
QByteArray harmlessIniLines(const QByteArray& text);

} // namespace orvanel
