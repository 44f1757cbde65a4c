#pragma once

#include <QLineEdit>

namespace orvanel {

/// A line of text to be typed, with room around it, and a placeholder that can be read.
class TextField final : public QLineEdit {
    Q_OBJECT

public:
    /// `name` is what a screen reader calls it.
    explicit TextField(const QString& name, QWidget* parent = nullptr);

protected:
    void changeEvent(QEvent* event) override;
};

} // namespace orvanel
