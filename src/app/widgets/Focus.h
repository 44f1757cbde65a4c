#pragma once

class QScrollArea;
class QWidget;

namespace orvanel {

/// The area that the widget scrolls in, or nullptr.
QScrollArea* surroundingArea(const QWidget* widget);

/// Brings the size of what scrolls in the area up to date. By itself that comes with a later event, and until then
/// nothing below the old end can be scrolled to.
void layOutNow(QScrollArea* area);

/// To be called before a widget goes, goes grey or goes out of sight: if it or something in it has the focus, the area
/// that it scrolls in gets it. Qt would hand it to whatever comes next, and the key that is pressed next would press a
/// button that nobody chose.
void giveUpFocus(const QWidget* leaving);

/// QWidget::setVisible() and setEnabled() for what can have the focus, with giveUpFocus().
void setShown(QWidget* widget, bool shown);
void setUsable(QWidget* widget, bool usable);

} // namespace orvanel
