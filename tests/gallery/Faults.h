#pragma once

#include <QStringList>

class QWidget;

namespace orvanel::test {

/// Each function returns, in words, what is wrong with the visible part of a window.

/// Controls that can have the focus but tell a screen reader nothing.
QStringList namelessControls(const QWidget& window);
/// Cut texts, words longer than their line, and widgets that reach beyond their parent.
QStringList clippedTexts(const QWidget& window);
/// Widgets that cover others beside them.
QStringList overlaps(const QWidget& window);
/// Texts of labels, buttons, fields, boxes and painted rows with a contrast under 4.5:1. Disabled texts may have less.
QStringList paleTexts(QWidget& window);

/// Describes a widget by its class and the beginning of its text.
QString describe(const QWidget* widget);

} // namespace orvanel::test
