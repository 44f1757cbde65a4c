#pragma once

#include <QPushButton>

namespace orvanel {

/// A push button with room around its text. The default button of a view has the desktop's highlight colour.
class PushButton : public QPushButton {
    Q_OBJECT

public:
    enum class Kind {
        plain,
        byDefault,
        destructive, ///< red, for what deletes
    };

    /// How much larger it is than the desktop's own buttons.
    static constexpr QSize room{16, 4};

    PushButton(const QString& text, Kind kind, QWidget* parent = nullptr);

    /// For a button that is the default one in some states only.
    void setKind(Kind kind);

    QSize sizeHint() const override;
    /// The size for where room is scarce: the text with just enough around it.
    QSize minimumSizeHint() const override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void applyColors();

    Kind m_kind;
};

} // namespace orvanel
