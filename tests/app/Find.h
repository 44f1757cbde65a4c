#pragma once

#include <QAbstractButton>
#include <QAccessible>
#include <QLabel>

namespace orvanel::test {

/// The visible widget of that kind below `root` whose text is `text`, or nullptr.
template <class Widget>
Widget* visibleWith(const QWidget* root, const QString& text) {
    for (Widget* widget : root->findChildren<Widget*>()) {
        // Long words of texts from outside may break anywhere.
        if (widget->isVisible() && widget->text().remove(QChar(0x200b)) == text) {
            return widget;
        }
    }
    return nullptr;
}

inline QAbstractButton* button(const QWidget* root, const QString& text) {
    return visibleWith<QAbstractButton>(root, text);
}

inline bool shows(const QWidget* root, const QString& text) {
    return visibleWith<QLabel>(root, text) != nullptr;
}

/// The visible widget of that class, or nullptr.
template <class Widget>
Widget* visible(const QWidget* root) {
    for (Widget* widget : root->findChildren<Widget*>()) {
        if (widget->isVisible()) {
            return widget;
        }
    }
    return nullptr;
}

/// What a screen reader is told of a widget.
inline QAccessibleInterface* accessible(QWidget* widget) {
    return QAccessible::queryAccessibleInterface(widget);
}

} // namespace orvanel::test
