#include "app/widgets/LogBox.h"

namespace orvanel {
namespace {

constexpr int boxHeight = 180;

} // namespace

LogBox::LogBox(const QString& name, const QString& placeholder, QWidget* parent)
    : TextBox(name, parent) {
    setFixedHeight(boxHeight);
    // Else what it stands in would take all the height that is left.
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setFollowing(true);
    setPlaceholderText(placeholder);
}

void LogBox::setLog(const QString& text) {
    setContent(text);
}

} // namespace orvanel
