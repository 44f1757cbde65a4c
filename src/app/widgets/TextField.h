#pragma once

#include <QLineEdit>

namespace orvanel {

/// A line of text for the user to change, with room around it and a legible placeholder.
class TextField final : public QLineEdit {
    Q_OBJECT

public:
    /// `name` is what a screen reader calls it.
    explicit TextField(const QString& name, QWidget* parent = nullptr);

    /// Shows the value of the setting. If it is shown already, nothing happens, because setting the same text would
    /// move the cursor.
    void showValue(const QString& value);

Q_SIGNALS:
    /// The user has changed the text: with keys, the menu, the mouse, or through assistive technology, of which Qt's
    /// own textEdited() does not tell.
    void changedByUser(const QString& text);

protected:
    void changeEvent(QEvent* event) override;

private:
    bool m_isShowingValue = false;
};

} // namespace orvanel
