#include "app/widgets/PushButton.h"

#include "app/widgets/StateColors.h"

#include <QApplication>
#include <QEvent>
#include <QKeyEvent>

namespace orvanel {
namespace {

constexpr int narrowRoom = 24;
constexpr int darkening = 235;

} // namespace

PushButton::PushButton(const QString& text, Kind kind, QWidget* parent)
    : QPushButton(text, parent)
    , m_kind(kind) {
    setDefault(kind == Kind::byDefault);
    applyColors();
}

void PushButton::setKind(Kind kind) {
    if (kind == m_kind) {
        return;
    }
    m_kind = kind;
    setDefault(kind == Kind::byDefault);
    setPalette(QPalette());
    applyColors();
}

QSize PushButton::sizeHint() const {
    return QPushButton::sizeHint() + room;
}

QSize PushButton::minimumSizeHint() const {
    const int textWidth = fontMetrics().size(Qt::TextShowMnemonic, text()).width();
    return {textWidth + narrowRoom, sizeHint().height()};
}

/// A key that is held down presses only once, because a new view may have another button in the same place.
void PushButton::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
    case Qt::Key_Select:
        if (event->isAutoRepeat()) {
            return;
        }
        break;
    default:
        break;
    }
    QPushButton::keyPressEvent(event);
}

void PushButton::changeEvent(QEvent* event) {
    QPushButton::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ParentChange) {
        applyColors();
    }
}

void PushButton::applyColors() {
    if (m_kind == Kind::plain) {
        return;
    }
    const QPalette surroundings = parentWidget() != nullptr ? parentWidget()->palette() : QApplication::palette();
    if (m_kind == Kind::destructive) {
        const QColor text = textColor(Meaning::bad, surroundings);
        // setPalette() calls this function again.
        if (palette().color(QPalette::Active, QPalette::ButtonText) != text) {
            QPalette own;
            own.setColor(QPalette::ButtonText, text);
            setPalette(own);
        }
        return;
    }
    const QColor text = surroundings.color(QPalette::Active, QPalette::HighlightedText);
    const QColor highlight = surroundings.color(QPalette::Active, QPalette::Highlight);
    // Styles draw a default button much lighter than its colour.
    const QColor background = text.lightness() > highlight.lightness() ? highlight.darker(darkening) : highlight;
    // setPalette() calls this function again.
    if (palette().color(QPalette::Active, QPalette::Button) == background &&
        palette().color(QPalette::Active, QPalette::ButtonText) == text) {
        return;
    }
    QPalette own;
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
        own.setColor(group, QPalette::Button, background);
        own.setColor(group, QPalette::ButtonText, text);
    }
    setPalette(own);
}

} // namespace orvanel
