#pragma once

#include <QAccessible>

namespace orvanel {

/// Says what a widget of our own painting is to a screen reader; its name is the accessibleName().
/// To be called before anybody asks, so best where the widget is made.
void setAccessibleRole(QWidget* widget, QAccessible::Role role);

} // namespace orvanel
