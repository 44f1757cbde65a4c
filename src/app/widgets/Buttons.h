#pragma once

#include <QPushButton>

#include <functional>

class QLayout;
class QMenu;

namespace orvanel {

/// Shows the text as it is written (see plainButtonText()).
void setButtonText(QAbstractButton* button, const QString& text);

/// Adds an ordinary push button to a row or column.
QPushButton* addButton(QLayout* layout, const QString& text, std::function<void()> action);

/// Adds the one button of a view that Return presses.
QPushButton* addDefaultButton(QLayout* layout, const QString& text, std::function<void()> action);

/// Makes such a button look like an ordinary one, or like the default one again.
void setDefaultLook(QPushButton* button, bool isDefault);

/// Adds a button for deleting what cannot be brought back.
QPushButton* addDestructiveButton(QLayout* layout, const QString& text, std::function<void()> action);

/// Adds a button that opens a menu below it.
QMenu* addMenuButton(QLayout* layout, const QString& text);

/// Adds an entry to such a menu.
void addMenuEntry(QMenu* menu, const QString& text, std::function<void()> action);

} // namespace orvanel
