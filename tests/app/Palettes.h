#pragma once

#include <QPalette>

namespace orvanel::test {

inline QPalette lightPalette() {
    return QPalette(QColor(0xf0f0f0));
}

inline QPalette darkPalette() {
    return QPalette(QColor(0x2b2d31));
}

} // namespace orvanel::test
