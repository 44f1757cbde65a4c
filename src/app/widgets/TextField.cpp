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
}

void TextField::changeEvent(QEvent* event) {
    QLineEdit::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        usePlainPlaceholder(this);
    }
}

} // namespace orvanel
