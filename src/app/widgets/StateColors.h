#pragma once

#include "controller/StatusSummary.h"

#include <QColor>

class QPalette;
class QWidget;

namespace orvanel {

/// What a coloured dot, symbol or text says. Each meaning has one colour for light and one for dark surroundings.
/// Colour is never the only sign: words say the same.
enum class Meaning {
    inactive,    ///< gray
    good,        ///< green
    bad,         ///< red
    pending,     ///< orange
    maintenance, ///< blue
};

Meaning meaningOf(Health health);
/// What a screen reader says for the dot of that health.
QString spokenHealth(Health health);

/// Whether the palette has light text on a darker window.
bool isDark(const QPalette& palette);

/// The colour of dots and symbols: at least 3:1 against the window.
QColor dotColor(Meaning meaning, const QPalette& palette);
/// The colour of text: at least 4.5:1 against the window and the cards.
QColor textColor(Meaning meaning, const QPalette& palette);
/// The colour of less important text: at least 4.5:1 as well.
QColor secondaryTextColor(const QPalette& palette);
/// Gives the widget's placeholder the colour of less important text. Call it again when the palette changes.
void usePlainPlaceholder(QWidget* widget);

/// The track of a switch that is off: at least 3:1 against the window and against the white knob on it.
QColor switchOffColor(const QPalette& palette);

/// The colours of the status icon's dot and of the thin ring inside its edge. The panel may be light or dark, and one
/// of the two can be seen on either.
QColor statusDotColor(Meaning meaning);
QColor statusRingColor(Meaning meaning);

} // namespace orvanel
