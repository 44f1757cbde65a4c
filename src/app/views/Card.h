#pragma once

#include "app/views/View.h"
#include "app/widgets/Drawings.h"
#include "app/widgets/TextLabel.h"

class QVBoxLayout;

namespace orvanel {

class ButtonRow;

/// The look that all cards share: a column on a rounded veil of gray, as wide as the window allows.
class Card : public View {
    Q_OBJECT

public:
    /// `name` is what a screen reader calls the card.
    explicit Card(const QString& name, QWidget* parent = nullptr);

protected:
    QVBoxLayout* column() const { return m_column; }

    TextLabel* addText(TextStyle style, const QString& text = {});
    /// A symbol with a heading beside it; with a meaning both have its colour.
    TextLabel* addHeading(Symbol::Kind symbol, TextStyle style, const QString& text = {},
                          std::optional<Meaning> meaning = {});
    ButtonRow* addButtonRow();

    void paintEvent(QPaintEvent* event) override;

private:
    QVBoxLayout* m_column;
};

} // namespace orvanel
