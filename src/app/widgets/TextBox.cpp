#include "app/widgets/TextBox.h"

#include "app/PlainLog.h"
#include "app/widgets/StateColors.h"
#include "app/widgets/TextStyle.h"

#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QTextBlock>

#include <algorithm>
#include <cmath>
#include <utility>

namespace orvanel {
namespace {

constexpr double cornerRadius = 6;
constexpr double usualShade = 0.08;
/// On a dark window the usual shade would hardly be visible.
constexpr double darkFactor = 3.75;
constexpr int margin = 8;

/// The limits of what is laid out while the user waits. Longer lines are shown in pieces, and of more lines only the
/// last ones.
constexpr qsizetype longestLine = 20000;
constexpr qsizetype mostLines = 10000;

/// The text without the line break at its end, which would show as an empty line.
QStringView linesOf(const QString& text) {
    return QStringView(text).chopped(text.endsWith(u'\n') ? 1 : 0);
}

QString shownText(const QString& text) {
    QList<QStringView> lines;
    for (QStringView line : linesOf(text).split(u'\n')) {
        while (line.size() > longestLine) {
            const qsizetype length = line[longestLine - 1].isHighSurrogate() ? longestLine - 1 : longestLine;
            lines.append(line.first(length));
            line = line.sliced(length);
        }
        lines.append(line);
    }
    QString shown;
    shown.reserve(text.size() + lines.size());
    for (qsizetype i = std::max<qsizetype>(0, lines.size() - mostLines); i < lines.size(); ++i) {
        shown += lines[i];
        shown += u'\n';
    }
    shown.chop(1);
    return shown;
}

int asPosition(qsizetype index) {
    return static_cast<int>(index);
}

void removeText(QTextDocument* document, qsizetype from, qsizetype to) {
    QTextCursor cursor(document);
    cursor.setPosition(asPosition(from));
    cursor.setPosition(asPosition(to), QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
}

/// Where a selection, or the cursor without one, begins and ends.
struct Selection {
    int anchor = 0;
    int position = 0;

    explicit Selection(const QTextCursor& cursor)
        : anchor(cursor.anchor())
        , position(cursor.position()) {}
    bool operator==(const Selection&) const = default;

    /// Moves the selection to its place in the next text, which begins with the kept part.
    void moveWith(const KeptText& kept) {
        for (int* end : {&anchor, &position}) {
            *end = asPosition(std::clamp<qsizetype>(*end - kept.from, 0, kept.size));
        }
    }
};

constexpr int boxHeight = 180;

/// How many characters of the next text are searched for in the old one. Shorter common parts are not worth finding.
constexpr qsizetype keyLength = 120;
/// A log that repeats itself has the beginning in many places; one of the first is good enough.
constexpr int maximumTries = 20;

qsizetype commonLength(QStringView one, QStringView other) {
    const auto [end, ignored] = std::mismatch(one.begin(), one.end(), other.begin(), other.end());
    const qsizetype length = end - one.begin();
    const bool splitsCharacter = length > 0 && one[length - 1].isHighSurrogate();
    return splitsCharacter ? length - 1 : length;
}

} // namespace

KeptText keptText(QStringView old, QStringView next) {
    KeptText best{.from = 0, .size = commonLength(old, next)};
    if (best.size == old.size() || next.size() < keyLength) {
        return best;
    }
    const QStringView key = next.first(keyLength);
    qsizetype at = old.indexOf(key);
    for (int tries = 0; at >= 0 && tries < maximumTries; ++tries) {
        const qsizetype size = commonLength(old.sliced(at), next);
        if (size > best.size) {
            best = {.from = at, .size = size};
        }
        if (at + size == old.size()) {
            break;
        }
        at = old.indexOf(key, at + 1);
    }
    return best;
}

TextBox::TextBox(const QString& name, QWidget* parent)
    : QPlainTextEdit(parent)
    , m_shade(usualShade) {
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
    usePlainPlaceholder(this);
}

bool TextBox::setContent(const QString& text) {
    if (text == m_content) {
        return false;
    }
    m_content = text;
    const QString plain = plainLog(text);
    if (plain == m_plain) {
        return false;
    }
    m_plain = plain;
    showText(shownText(plain));
    describe();
    if (m_isFollowing) {
        scrollToEnd();
    }
    return true;
}

void TextBox::showText(const QString& text) {
    const QString old = std::exchange(m_shown, text);
    const KeptText kept = keptText(old, text);
    const QTextBlock topBlock = firstVisibleBlock();
    const bool isTopKept = topBlock.position() >= kept.from;
    const int hiddenLines = verticalScrollBar()->value() - topBlock.firstLineNumber();
    const QTextCursor top(topBlock);
    Selection selection(textCursor());

    if (kept.size == 0) {
        const int value = verticalScrollBar()->value();
        setPlainText(text);
        verticalScrollBar()->setValue(value);
        return;
    }
    removeText(document(), kept.from + kept.size, old.size());
    removeText(document(), 0, kept.from);
    QTextCursor end(document());
    end.movePosition(QTextCursor::End);
    end.insertText(text.sliced(kept.size));

    selection.moveWith(kept);
    // A selection that reaches to the end would have grown with the text.
    if (selection != Selection(textCursor())) {
        QTextCursor cursor(document());
        cursor.setPosition(selection.anchor);
        cursor.setPosition(selection.position, QTextCursor::KeepAnchor);
        setTextCursor(cursor);
    }
    verticalScrollBar()->setValue(isTopKept ? top.block().firstLineNumber() + hiddenLines : 0);
}

/// Lines are wrapped only when they come into view, which may move the end away.
void TextBox::scrollToEnd() {
    QScrollBar* const bar = verticalScrollBar();
    do {
        bar->setValue(bar->maximum());
    } while (bar->value() < bar->maximum());
}

void TextBox::setPlaceholder(const QString& text) {
    setPlaceholderText(text);
    describe();
}

/// Screen readers do not read placeholders.
void TextBox::describe() {
    setAccessibleDescription(m_plain.isEmpty() ? placeholderText() : QString());
}

void TextBox::fitHeight(int maximum) {
    // Each line is measured, because letters of other fonts are higher. The last pixel keeps Qt from scrolling.
    double height = 2 * margin + document()->documentMargin() + 1;
    for (QTextBlock block = document()->firstBlock(); block.isValid() && height < maximum; block = block.next()) {
        height += blockBoundingRect(block).height();
    }
    setFixedHeight(std::min(maximum, static_cast<int>(std::ceil(height))));
}

void TextBox::setShade(double opacity) {
    m_shade = opacity;
    update();
}

void TextBox::resizeEvent(QResizeEvent* event) {
    QPlainTextEdit::resizeEvent(event);
    // In a narrower box the lines wrap more often.
    if (m_isFollowing) {
        scrollToEnd();
    }
}

void TextBox::changeEvent(QEvent* event) {
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        usePlainPlaceholder(this);
    }
}

bool TextBox::event(QEvent* event) {
    // The box copies a selection. Without one the key is for whoever else has something to copy.
    if (event->type() == QEvent::ShortcutOverride && static_cast<QKeyEvent*>(event)->matches(QKeySequence::Copy)) {
        event->setAccepted(textCursor().hasSelection());
        return true;
    }
    // This paints the box below its transparent viewport.
    if (event->type() == QEvent::Paint) {
        paintBox();
        return true;
    }
    return QPlainTextEdit::event(event);
}

/// Plain text only: Qt would add formatted text, and pasting that into a letter would bring our font and colours.
QMimeData* TextBox::createMimeDataFromSelection() const {
    auto* copied = new QMimeData;
    copied->setText(textCursor().selectedText().replace(QChar::ParagraphSeparator, u'\n'));
    return copied;
}

void TextBox::paintBox() {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(hasFocus() ? QPen(palette().color(QPalette::Highlight), 1) : QPen(Qt::NoPen));
    QColor shade = Qt::black;
    shade.setAlphaF(static_cast<float>(isDark(palette()) ? m_shade * darkFactor : m_shade));
    painter.setBrush(shade);
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius, cornerRadius);
}

LogBox::LogBox(const QString& name, const QString& placeholder, QWidget* parent)
    : TextBox(name, parent) {
    setFixedHeight(boxHeight);
    // Otherwise the card around the box would take all the height that is left.
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFollowing(true);
    setPlaceholder(placeholder);
}

void LogBox::setLog(const QString& text) {
    setContent(text);
}

CommandBox::CommandBox(const QString& name, QWidget* parent)
    : TextBox(name, parent) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    // Bars that come and go while the height is found would change the width.
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setCommand({});
}

void CommandBox::setCommand(const QString& text) {
    setContent(text);
    fitHeight(boxHeight);
}

void CommandBox::resizeEvent(QResizeEvent* event) {
    TextBox::resizeEvent(event);
    // In a narrower box the command wraps more often.
    fitHeight(boxHeight);
}

} // namespace orvanel
