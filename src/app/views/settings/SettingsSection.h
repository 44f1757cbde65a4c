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
    /// A text field with its label before it.
    QLineEdit* addField(const QString& label);
    /// A small explanation in the secondary colour.
    TextLabel* addCaption(const QString& text = {});
    /// Between settings of one group.
    void addDivider();

    /// Shows a text from outside, however long its words are.
    static void setOutsideText(TextLabel* label, const QString& text);
};

/// A text field that is bound to a setting: what is typed is stored as it is typed, and what is stored elsewhere is
/// shown. `text` is only set where it differs, which would move the cursor.
void showInField(QLineEdit* field, const QString& text);

} // namespace orvanel
