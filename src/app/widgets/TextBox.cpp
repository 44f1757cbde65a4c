#include "app/widgets/TextBox.h"

#include "app/widgets/StateColors.h"
#include "app/widgets/TextStyle.h"

#include <QEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace orvanel {
namespace {

constexpr double cornerRadius = 6;
constexpr float backgroundOpacity = 0.08F;
/// On a dark window the same veil would hardly be seen.
constexpr float backgroundOpacityOnDark = 0.3F;
constexpr int margin = 8;

} // namespace

TextBox::TextBox(const QString& name, QWidget* parent)
    : QPlainTextEdit(parent) {
    setAccessibleName(name);
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    // Tab leaves the box for the next control instead of being text.
    setTabChangesFocus(true);
    setUndoRedoEnabled(false);
    setFrameShape(QFrame::NoFrame);
    setTextStyle(this, TextStyle::smallMonospaced);
    viewport()->setAutoFillBackground(false);
    document()->setDocumentMargin(0);
    setViewportMargins(margin, margin, margin, margin);
}

bool TextBox::setContent(const QString& text) {
    if (text == m_content) {
        return false;
    }
    m_content = text;
    // The end of the last line is no empty line below it.
    const QString lines = text.endsWith(QLatin1Char('\n')) ? text.chopped(1) : text;
    if (!m_shown.isEmpty() && lines.startsWith(m_shown)) {
        QTextCursor end(document());
        end.movePosition(QTextCursor::End);
        end.insertText(lines.mid(m_shown.size()));
    } else {
        setPlainText(lines);
    }
    m_shown = lines;
    return true;
}

void TextBox::fitHeight(int maximum) {
    const int lines = std::max(1, static_cast<int>(std::ceil(document()->size().height())));
    setFixedHeight(std::min(maximum, lines * fontMetrics().lineSpacing() + 2 * margin));
}

bool TextBox::event(QEvent* event) {
    // The box itself, below its transparent viewport.
    if (event->type() == QEvent::Paint) {
        paintBox();
        return true;
    }
    return QPlainTextEdit::event(event);
}

void TextBox::paintBox() {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(hasFocus() ? QPen(palette().color(QPalette::Highlight), 1) : QPen(Qt::NoPen));
    painter.setBrush(QColor::fromRgbF(0, 0, 0, isDark(palette()) ? backgroundOpacityOnDark : backgroundOpacity));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
}

} // namespace orvanel
