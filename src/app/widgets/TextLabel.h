#pragma once

#include "app/widgets/StateColors.h"
#include "app/widgets/TextStyle.h"

#include <QLabel>

#include <optional>

namespace orvanel {

/// A label in one of our text styles. It is always plain text, wraps where it is too long, and follows the desktop's
/// font and palette.
class TextLabel : public QLabel {
    Q_OBJECT

public:
    explicit TextLabel(TextStyle style, const QString& text = {}, QWidget* parent = nullptr);

    /// The default is the palette's text colour.
    void setSecondary();
    void setMeaning(Meaning meaning);

    /// Shows one line, cut where the room ends.
    void setElided();

    void setContent(const QString& text);
    /// For a text from outside: neither its length nor long words make the window wider or much higher. A screen reader
    /// reads all of it, and the tooltip has a text that was cut.
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
    /// What an elided label would show with more room.
    QString m_line;
    bool m_secondary = false;
    std::optional<Meaning> m_meaning;
};

} // namespace orvanel
