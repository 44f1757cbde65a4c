#include "app/widgets/TextLabel.h"

#include "app/widgets/PlainText.h"
#include "platform/ShortText.h"

#include <QApplication>
#include <QEvent>
#include <QStyle>

namespace orvanel {
namespace {

/// Longer words may break anywhere after this many characters. The names in a path are words of their own.
constexpr int longWord = 20;
/// Longer texts are cut to about this many characters, which is some lines, because a label has no room for more.
constexpr qsizetype longest = 400;

/// Surrogates, and marks that belong to the letter before them.
bool continuesLetter(QChar c) {
    return c.isLowSurrogate() || c.isMark();
}

QString breakable(const QString& text) {
    constexpr QChar mayBreak(0x200b);
    QString result;
    int length = 0;
    for (const QChar c : text) {
        length = c.isSpace() || c == u'/' ? 0 : length + 1;
        if (length > longWord && !continuesLetter(c)) {
            result += mayBreak;
        }
        result += c;
    }
    return result;
}

} // namespace

TextLabel::TextLabel(TextStyle style, const QString& text, QWidget* parent)
    : QLabel(parent) {
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setTextStyle(this, style);
    alignWithLayout();
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

void TextLabel::setElided() {
    m_isElided = true;
    setWordWrap(false);
}

/// All lines begin on the same side, whatever language a text is in.
void TextLabel::alignWithLayout() {
    const Qt::Alignment beginning = QStyle::visualAlignment(layoutDirection(), Qt::AlignLeft);
    setAlignment(beginning | Qt::AlignAbsolute | Qt::AlignVCenter);
}

void TextLabel::setOutsideText(const QString& text) {
    if (accessibleName() != text) {
        setAccessibleName(text);
    }
    if (m_isElided) {
        m_line = shortened(text.simplified(), longest);
        updateGeometry();
        elide();
        return;
    }
    setContent(breakable(shortened(text, longest)));
    setToolTip(text.size() > longest ? plainToolTip(text) : QString());
}

void TextLabel::elide() {
    setContent(fontMetrics().elidedText(m_line, Qt::ElideRight, width()));
    setToolTip(this->text() == accessibleName().simplified() ? QString() : plainToolTip(accessibleName()));
}

QSize TextLabel::sizeHint() const {
    const QSize usual = QLabel::sizeHint();
    return m_isElided ? QSize(fontMetrics().horizontalAdvance(m_line), usual.height()) : usual;
}

/// A long word must not make the window wider.
QSize TextLabel::minimumSizeHint() const {
    const QSize usual = QLabel::minimumSizeHint();
    return wordWrap() || m_isElided ? QSize(1, usual.height()) : usual;
}

void TextLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    if (m_isElided) {
        elide();
    }
}

void TextLabel::changeEvent(QEvent* event) {
    QLabel::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ParentChange) {
        applyColor();
    }
    if (event->type() == QEvent::FontChange && m_isElided) {
        elide();
    }
    if (event->type() == QEvent::LayoutDirectionChange && (alignment() & Qt::AlignAbsolute) != 0) {
        alignWithLayout();
    }
}

void TextLabel::applyColor() {
    if (!m_secondary && !m_meaning) {
        return;
    }
    const QPalette surroundings = parentWidget() != nullptr ? parentWidget()->palette() : QApplication::palette();
    const QColor color = m_meaning ? textColor(*m_meaning, surroundings) : secondaryTextColor(surroundings);
    // setPalette() calls this function again.
    if (palette().color(QPalette::WindowText) != color) {
        QPalette own;
        own.setColor(QPalette::WindowText, color);
        setPalette(own);
    }
}

} // namespace orvanel
