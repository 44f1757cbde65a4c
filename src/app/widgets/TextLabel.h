#pragma once

#include "app/widgets/StateColors.h"
#include "app/widgets/TextStyle.h"

#include <QLabel>

#include <optional>

namespace orvanel {

/// A label in one of our text styles, always plain text, wrapped where it is too long. Follows the desktop's font and
/// palette.
class TextLabel final : public QLabel {
    Q_OBJECT

public:
    explicit TextLabel(TextStyle style, const QString& text = {}, QWidget* parent = nullptr);

    /// The palette's own text colour is the default.
    void setSecondary();
    void setMeaning(Meaning meaning);

    void setContent(const QString& text);

    QSize minimumSizeHint() const override;

protected:
    void changeEvent(QEvent* event) override;

private:
    void applyColor();

    bool m_secondary = false;
    std::optional<Meaning> m_meaning;
};

} // namespace orvanel
