#pragma once

class QScrollArea;
class QWidget;

namespace orvanel {

/// The scroll area that the widget is in, or nullptr.
QScrollArea* surroundingArea(const QWidget* widget);

/// Brings the size of the area's content up to date. Qt does so only with a later event, and until then nothing below
/// the old end can be scrolled to.
void layOutNow(QScrollArea* area);

/// Call this before a widget is deleted, disabled or hidden: if the widget or something in it has the focus, the scroll
/// area around it gets the focus. Qt would give it to the next control, and the next key would press a button that
/// nobody chose.
void giveUpFocus(const QWidget* leaving);

/// QWidget::hide(), setVisible() and setEnabled() for what can have the focus, with giveUpFocus().
void hideSafely(QWidget* widget);
void setShown(QWidget* widget, bool shown);
void setUsable(QWidget* widget, bool usable);

} // namespace orvanel
