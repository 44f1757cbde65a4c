#pragma once

#include <QPushButton>

#include <functional>

class QBoxLayout;

namespace orvanel {

/// A button's text that shows `text` as it stands: no '&' in it makes a mnemonic.
QString plainButtonText(const QString& text);

void setButtonText(QAbstractButton* button, const QString& text);

/// Adds a push button to a row or column.
QPushButton* addButton(QBoxLayout* layout, const QString& text, std::function<void()> action);

/// The same, for the one button of a view that Return presses.
QPushButton* addDefaultButton(QBoxLayout* layout, const QString& text, std::function<void()> action);

} // namespace orvanel
