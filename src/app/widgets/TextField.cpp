#include "app/widgets/TextField.h"

#include "app/widgets/StateColors.h"

#include <QEvent>

namespace orvanel {
namespace {

constexpr QMargins room{4, 2, 4, 2};

} // namespace

TextField::TextField(const QString& name, QWidget* parent)
    : QLineEdit(parent) {
    setAccessibleName(name);
    setTextMargins(room);
    usePlainPlaceholder(this);
    connect(this, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (!m_isShowingValue) {
            Q_EMIT changedByUser(text);
        }
    });
}

void TextField::showValue(const QString& value) {
    if (text() == value) {
        return;
    }
    m_isShowingValue = true;
    setText(value);
    m_isShowingValue = false;
    if (!hasFocus()) {
        setCursorPosition(0);
    }
}

void TextField::changeEvent(QEvent* event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        usePlainPlaceholder(this);
    }
}

} // namespace orvanel
