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
    /// A text field in a row, with its name before it.
    QLineEdit* addField(const QString& label);
    /// A small explanation in the secondary colour.
    TextLabel* addCaption(const QString& text = {});
    /// Between settings of one group.
    void addDivider();
};

/// Brings a field up to its setting. The same text is not set again, because that would move the cursor.
void showInField(QLineEdit* field, const QString& text);

} // namespace orvanel
