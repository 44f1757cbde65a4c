#pragma once

#include <QColor>

#include <algorithm>
#include <cmath>

namespace orvanel::test {

/// Relative luminance, as the Web Content Accessibility Guidelines define it.
inline double luminance(const QColor& color) {
    const auto linear = [](double value) {
        return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

/// Their contrast ratio: 1 for equal colours, 21 for black and white.
inline double contrast(const QColor& one, const QColor& other) {
    const double a = luminance(one);
    const double b = luminance(other);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

} // namespace orvanel::test
