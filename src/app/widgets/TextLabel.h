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

    /// One line, cut to the room that there is.
    void setElided();

    void setContent(const QString& text);
    /// The same for a text from outside, of any length and with words of any length: neither makes the window wider or
    /// much higher. A screen reader says all of it, and what is cut is in the tooltip.
    void setOutsideText(const QString& text);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void applyColor();
    void elide();
    void alignWithLayout();

    bool m_isElided = false;
    /// Of a label that is elided: what it would show with more room.
    QString m_line;
    bool m_secondary = false;
    std::optional<Meaning> m_meaning;
};

} // namespace orvanel
