#pragma once

#include "controller/Health.h"

#include <QColor>

class QPalette;
class QWidget;

namespace orvanel {

/// What a coloured dot, symbol or text says. One colour for each meaning, in a version for light and one for dark
/// surroundings; nothing is ever told by its colour alone.
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

/// For dots and symbols: at least 3:1 against the window.
QColor dotColor(Meaning meaning, const QPalette& palette);
/// For text: at least 4.5:1 against the window and the cards.
QColor textColor(Meaning meaning, const QPalette& palette);
/// For less important text: at least 4.5:1 as well.
QColor secondaryTextColor(const QPalette& palette);
/// Gives the widget's placeholder the colour of less important text; to be called again when its palette changes.
void usePlainPlaceholder(QWidget* widget);

/// For the track of a switch that is off: at least 3:1 against the window and against the white knob on it.
QColor switchOffColor(const QPalette& palette);

/// For the status icon, whose panel may be light or dark without our knowledge: the dot, and the thin ring inside its
/// edge. One of the two stands out on any panel.
QColor statusDotColor(Meaning meaning);
QColor statusRingColor(Meaning meaning);

} // namespace orvanel
