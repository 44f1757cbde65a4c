#include "app/widgets/TextStyle.h"

#include <QApplication>
#include <QFontDatabase>
#include <QVariant>
#include <QWidget>

#include <cmath>

namespace orvanel {
namespace {

double scaleOf(TextStyle style) {
    switch (style) {
    case TextStyle::body:
    case TextStyle::headline:
    case TextStyle::monospaced:
        return 1;
    case TextStyle::title2:
        return 1.4;
    case TextStyle::title3:
        return 1.2;
    case TextStyle::callout:
        return 0.95;
    case TextStyle::caption:
        return 0.85;
    case TextStyle::smallMonospaced:
        return 0.9;
    case TextStyle::picture:
        return 3.4;
    }
    Q_UNREACHABLE();
}

constexpr char styleProperty[] = "textStyle";

} // namespace

QFont fontOf(TextStyle style) {
    const QFont desktop = QApplication::font();
    const bool isMonospaced = style == TextStyle::monospaced || style == TextStyle::smallMonospaced;
    QFont font = isMonospaced ? QFontDatabase::systemFont(QFontDatabase::FixedFont) : desktop;
    // A font that the desktop gives in pixels has no size in points.
    if (desktop.pointSizeF() > 0) {
        font.setPointSizeF(desktop.pointSizeF() * scaleOf(style));
    } else {
        font.setPixelSize(static_cast<int>(std::lround(desktop.pixelSize() * scaleOf(style))));
    }
    font.setBold(style == TextStyle::headline || style == TextStyle::title2 || style == TextStyle::title3);
    return font;
}

void setTextStyle(QWidget* widget, TextStyle style) {
    widget->setProperty(styleProperty, static_cast<int>(style));
    widget->setFont(fontOf(style));
}

void refreshTextStyles(const QWidget* window) {
    for (QWidget* widget : window->findChildren<QWidget*>()) {
        const QVariant style = widget->property(styleProperty);
        if (style.isValid()) {
            widget->setFont(fontOf(static_cast<TextStyle>(style.toInt())));
        }
    }
}

} // namespace orvanel
