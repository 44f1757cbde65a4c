#pragma once

#include <QPushButton>

namespace orvanel {

/// A button that looks like a link, and is one to a screen reader.
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
