#pragma once

#include <QStringList>

class QWidget;

namespace orvanel::test {

/// What is wrong with a window as it is shown, in words; each looks at all that is seen of it.

/// Controls that can be focused and have nothing to say to a screen reader.
QStringList namelessControls(const QWidget& window);
/// Texts without room, words longer than their line, and widgets that stand out of what holds them.
QStringList clippedTexts(const QWidget& window);
/// Widgets that cover others beside them.
QStringList overlaps(const QWidget& window);
/// Texts of labels, buttons, fields, boxes and painted rows under 4.5:1. What is switched off may be pale.
QStringList paleTexts(QWidget& window);

/// The widget's class and the beginning of its text.
QString describe(const QWidget* widget);

} // namespace orvanel::test
