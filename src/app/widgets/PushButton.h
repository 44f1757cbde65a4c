#pragma once

#include <QPushButton>

namespace orvanel {

/// A push button with room around its text; as the default one of its view it has the desktop's highlight colour.
class PushButton : public QPushButton {
    Q_OBJECT

public:
    enum class Kind {
        plain,
        byDefault,
        destructive, ///< red, for what deletes
    };

    /// By how much it is larger than the desktop's own.
    static constexpr QSize room{16, 4};

    PushButton(const QString& text, Kind kind, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    /// Where room is scarce: the text with just enough around it.
    QSize minimumSizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void applyColors();

    const Kind m_kind;
};

} // namespace orvanel
