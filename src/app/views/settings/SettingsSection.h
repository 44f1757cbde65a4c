#pragma once

#include "app/views/Card.h"

namespace orvanel {

class TextField;

/// A line below a control for what is wrong with its setting. A screen reader reads it with the control.
class SettingProblem final : public TextLabel {
    Q_OBJECT

public:
    explicit SettingProblem(QWidget* control);

    /// An empty text hides the line.
    void showProblem(const QString& problem);
    /// Shows that the setting could not be saved, or hides the line.
    void showWhetherSaved(bool isSaved);

private:
    QWidget* const m_control;
    /// What a screen reader says of the control while there is no problem.
    const QString m_usualDescription;
};

/// A group of settings that belong together; its name is the heading above it.
class SettingsSection : public Card {
    Q_OBJECT

public:
    using Card::Card;

protected:
    /// Adds a text field in a row, with its name before it.
    TextField* addField(const QString& label);
    /// Adds the line for what is wrong with the control, hidden at first.
    SettingProblem* addProblem(QWidget* control);
    /// Adds a small explanation in the secondary colour.
    TextLabel* addCaption(const QString& text = {});
    /// Adds a line between two settings.
    void addDivider();
};

} // namespace orvanel
