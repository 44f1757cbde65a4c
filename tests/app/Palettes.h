#pragma once

#include <QPalette>

namespace orvanel::test {

/// Palettes as desktops have them. From the window's colour alone, Qt would derive a nearly black text for disabled
/// controls, even in a dark window.
inline QPalette paletteOf(const QColor& window, const QColor& field, const QColor& disabledText) {
    QPalette palette(window);
    palette.setColor(QPalette::Active, QPalette::Base, field);
    palette.setColor(QPalette::Inactive, QPalette::Base, field);
    palette.setColor(QPalette::Highlight, QColor(0x3584e4));
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::PlaceholderText}) {
        palette.setColor(QPalette::Disabled, role, disabledText);
    }
    return palette;
}

inline QPalette lightPalette() {
    return paletteOf(QColor(0xf0f0f0), Qt::white, QColor(0x949699));
}

inline QPalette darkPalette() {
    return paletteOf(QColor(0x2b2d31), QColor(0x1c1d20), QColor(0x86898f));
}

} // namespace orvanel::test
