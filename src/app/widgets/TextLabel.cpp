#include "app/widgets/TextLabel.h"

#include <QApplication>
#include <QEvent>

namespace orvanel {

TextLabel::TextLabel(TextStyle style, const QString& text, QWidget* parent)
    : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setTextStyle(this, style);
    setText(text);
}

void TextLabel::setSecondary() {
    m_secondary = true;
    applyColor();
}

void TextLabel::setMeaning(Meaning meaning) {
    m_meaning = meaning;
    applyColor();
}

void TextLabel::setContent(const QString& text) {
    if (text != this->text()) {
        setText(text);
    }
}

/// A word of any length from outside must not make the window wider.
QSize TextLabel::minimumSizeHint() const {
    const QSize usual = QLabel::minimumSizeHint();
    return wordWrap() ? QSize(1, usual.height()) : usual;
}

void TextLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ParentChange) {
        applyColor();
    }
}

void TextLabel::applyColor() {
    if (!m_secondary && !m_meaning) {
        return;
    }
    const QPalette surroundings = parentWidget() != nullptr ? parentWidget()->palette() : QApplication::palette();
    const QColor color = m_meaning ? textColor(*m_meaning, surroundings) : secondaryTextColor(surroundings);
    // Setting the palette brings us here again.
    if (palette().color(QPalette::WindowText) != color) {
        QPalette own;
        own.setColor(QPalette::WindowText, color);
        setPalette(own);
    }
}

} // namespace orvanel
