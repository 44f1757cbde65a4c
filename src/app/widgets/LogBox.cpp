#include "app/widgets/LogBox.h"

#include <QScrollBar>

namespace orvanel {
namespace {

constexpr int boxHeight = 180;

} // namespace

LogBox::LogBox(const QString& name, const QString& placeholder, QWidget* parent)
    : TextBox(name, parent) {
    setFixedHeight(boxHeight);
    setPlaceholderText(placeholder);
}

void LogBox::setLog(const QString& text) {
    if (setContent(text)) {
        scrollToEnd();
    }
}

/// Narrower lines wrap into more of them.
void LogBox::resizeEvent(QResizeEvent* event) {
    TextBox::resizeEvent(event);
    scrollToEnd();
}

void LogBox::scrollToEnd() {
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

} // namespace orvanel
