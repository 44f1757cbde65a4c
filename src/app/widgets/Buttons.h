#pragma once

#include <QPushButton>

#include <functional>

class QLayout;
class QMenu;

namespace orvanel {

/// A button's text that shows `text` as it stands: no '&' in it makes a mnemonic.
QString plainButtonText(const QString& text);

void setButtonText(QAbstractButton* button, const QString& text);

/// Adds a push button to a row or column.
QPushButton* addButton(QLayout* layout, const QString& text, std::function<void()> action);

/// The same, for the one button of a view that Return presses.
QPushButton* addDefaultButton(QLayout* layout, const QString& text, std::function<void()> action);

/// The same, for a button that deletes what cannot be brought back.
QPushButton* addDestructiveButton(QLayout* layout, const QString& text, std::function<void()> action);

/// Adds a button that opens a menu below it.
QMenu* addMenuButton(QLayout* layout, const QString& text);

/// Adds an entry to such a menu.
void addMenuEntry(QMenu* menu, const QString& text, std::function<void()> action);

} // namespace orvanel
