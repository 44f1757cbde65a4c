#pragma once

#include <QFont>

class QWidget;

namespace orvanel {

/// Text styles, each relative to the font that the desktop gives its programs.
enum class TextStyle {
    body,
    headline, ///< bold
    title2,   ///< the largest, bold
    title3,   ///< larger, bold
    callout,  ///< a little smaller
    caption,  ///< small
    smallMonospaced,
    picture, ///< for a symbol that stands alone
};

QFont fontOf(TextStyle style);

void setTextStyle(QWidget* widget, TextStyle style);

/// Gives all widgets below that have a text style its font again. Only windows are told when the desktop's font
/// changes.
void refreshTextStyles(const QWidget* window);

/// Distances, in logical pixels.
namespace spacing {
/// Around the content of windows and cards.
inline constexpr int padding = 16;
/// Between the items of a column.
inline constexpr int items = 16;
/// Between the parts of a card.
inline constexpr int parts = 10;
/// Between the lines of a list.
inline constexpr int lines = 4;
/// Between things that belong together: a symbol and its heading, the buttons of a row.
inline constexpr int related = 8;
} // namespace spacing

} // namespace orvanel
