#include "app/widgets/StateColors.h"

#include <QPalette>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

struct Shades {
    QRgb status;
    QRgb ring;
    QRgb light;
    QRgb dark;
    QRgb textOnLight;
    QRgb textOnDark;
};

Shades shadesOf(Meaning meaning) {
    switch (meaning) {
    case Meaning::inactive:
        return {0x9a9aa0, 0x5e5e66, 0x7c7c84, 0x98989f, 0x5c5c63, 0xb4b4ba};
    case Meaning::good:
        return {0x32c05a, 0x127a34, 0x1f9a48, 0x32c05a, 0x14692f, 0x5fd482};
    case Meaning::bad:
        return {0xff5449, 0xa81c14, 0xd9342a, 0xff6359, 0xb3231b, 0xff8f88};
    case Meaning::pending:
        return {0xff9f0a, 0x9a5b00, 0xc46a00, 0xffa52b, 0x8a4a00, 0xffb454};
    case Meaning::maintenance:
        return {0x409cff, 0x0b55a8, 0x1a73e0, 0x5eacff, 0x1257b0, 0x8cc3ff};
    }
    Q_UNREACHABLE();
}

} // namespace

Meaning meaningOf(Health health) {
    switch (health) {
    case Health::inactive:
        return Meaning::inactive;
    case Health::allUp:
        return Meaning::good;
    case Health::someDown:
        return Meaning::bad;
    }
    Q_UNREACHABLE();
}

QString spokenHealth(Health health) {
    switch (health) {
    case Health::inactive:
        return u"Not running"_s;
    case Health::allUp:
        return u"Running, no monitor is down"_s;
    case Health::someDown:
        return u"Running, a monitor is down"_s;
    }
    Q_UNREACHABLE();
}

bool isDark(const QPalette& palette) {
    return palette.color(QPalette::WindowText).lightness() > palette.color(QPalette::Window).lightness();
}

QColor dotColor(Meaning meaning, const QPalette& palette) {
    const Shades shades = shadesOf(meaning);
    return QColor(isDark(palette) ? shades.dark : shades.light);
}

QColor textColor(Meaning meaning, const QPalette& palette) {
    const Shades shades = shadesOf(meaning);
    return QColor(isDark(palette) ? shades.textOnDark : shades.textOnLight);
}

QColor secondaryTextColor(const QPalette& palette) {
    constexpr float share = 0.7F;
    const QColor text = palette.color(QPalette::WindowText);
    const QColor window = palette.color(QPalette::Window);
    const auto mix = [](float a, float b) { return a * share + b * (1 - share); };
    return QColor::fromRgbF(mix(text.redF(), window.redF()), mix(text.greenF(), window.greenF()),
                            mix(text.blueF(), window.blueF()));
}

void usePlainPlaceholder(QWidget* widget) {
    const QColor color = secondaryTextColor(widget->palette());
    // setPalette() changes the palette again.
    if (widget->palette().color(QPalette::PlaceholderText) != color) {
        QPalette own;
        own.setColor(QPalette::PlaceholderText, color);
        widget->setPalette(own);
    }
}

QColor switchOffColor(const QPalette& palette) {
    return QColor(isDark(palette) ? 0x85858c : 0x7c7c84);
}

QColor statusDotColor(Meaning meaning) {
    return QColor(shadesOf(meaning).status);
}

QColor statusRingColor(Meaning meaning) {
    return QColor(shadesOf(meaning).ring);
}

} // namespace orvanel
