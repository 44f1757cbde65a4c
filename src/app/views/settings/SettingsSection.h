#pragma once

#include "app/views/Card.h"

class QLineEdit;

namespace orvanel {

/// A group of settings that belong together; its name is the heading above it.
class SettingsSection : public Card {
    Q_OBJECT

public:
    using Card::Card;

protected:
    /// Adds a text field in a row, with its name before it.
    QLineEdit* addField(const QString& label);
    /// Adds a small explanation in the secondary colour.
    TextLabel* addCaption(const QString& text = {});
    /// Adds a line between two settings.
    void addDivider();
};

/// Shows a setting in its field. The same text is not set again, because that would move the cursor.
void showInField(QLineEdit* field, const QString& text);

} // namespace orvanel
