#pragma once

#include <QAccessibleWidget>

namespace orvanel {

/// Sets what a widget of our own painting is to a screen reader; its name is the accessibleName(). Call it where the
/// widget is made, before a screen reader asks.
void setAccessibleRole(QWidget* widget, QAccessible::Role role);

/// From the first call on, screen readers learn of every widget of that class through a `Face`, a QAccessibleInterface
/// that is made with a pointer to the widget.
template <class Widget, class Face>
void describeBy() {
    static const bool isInstalled = [] {
        QAccessible::installFactory([](const QString&, QObject* object) -> QAccessibleInterface* {
            auto* widget = qobject_cast<Widget*>(object);
            return widget != nullptr ? new Face(widget) : nullptr;
        });
        return true;
    }();
    Q_UNUSED(isInstalled)
}

} // namespace orvanel
