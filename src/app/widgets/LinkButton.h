#pragma once

#include <QPushButton>

namespace orvanel {

/// A link: it looks like one, is one to a screen reader, and is pressed like a button.
class LinkButton final : public QPushButton {
    Q_OBJECT

public:
    explicit LinkButton(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace orvanel
