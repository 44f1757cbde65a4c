#include "app/views/settings/PortText.h"

#include <algorithm>

namespace orvanel {
namespace {

constexpr qsizetype mostDigits = 5;

bool isDigits(const QString& text) {
    return text.size() <= mostDigits &&
           std::all_of(text.begin(), text.end(), [](QChar c) { return u'0' <= c && c <= u'9'; });
}

} // namespace

std::optional<int> portFrom(const QString& typed) {
    const QString digits = typed.trimmed();
    if (digits.isEmpty() || !isDigits(digits)) {
        return std::nullopt;
    }
    const int port = digits.toInt();
    return lowestPort <= port && port <= highestPort ? std::optional(port) : std::nullopt;
}

bool mayBecomePort(const QString& typed) {
    const QString digits = typed.trimmed();
    return digits.size() < mostDigits && isDigits(digits);
}

} // namespace orvanel
