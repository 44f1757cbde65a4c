#pragma once

#include <QFont>

class QWidget;

namespace orvanel {

/// Text styles, relative to the desktop's font.
enum class TextStyle {
    body,
    headline, ///< bold
    title2,   ///< the largest, bold
    title3,   ///< larger, bold
    callout,  ///< a little smaller
    caption,  ///< small
    monospaced,
    smallMonospaced,
    picture, ///< for a symbol without text beside it
};

QFont fontOf(TextStyle style);

void setTextStyle(QWidget* widget, TextStyle style);

/// Renews the fonts of all widgets in the window that have a text style. Call it when the desktop's font has changed,
/// which only windows learn.
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
/// Between a symbol and its heading, or the buttons of a row.
inline constexpr int related = 8;
} // namespace spacing

} // namespace orvanel
