#include "app/widgets/KeptText.h"

#include <algorithm>

namespace orvanel {
namespace {

/// The beginning of the next text is looked for by this many characters. Shorter rests are not worth finding.
constexpr qsizetype keyLength = 120;
/// Where a log repeats itself, the beginning is found in many places; one of the first is good enough.
constexpr int maximumTries = 20;

qsizetype commonLength(QStringView one, QStringView other) {
    const auto [end, ignored] = std::mismatch(one.begin(), one.end(), other.begin(), other.end());
    const qsizetype length = end - one.begin();
    const bool splitsCharacter = length > 0 && one[length - 1].isHighSurrogate();
    return splitsCharacter ? length - 1 : length;
}

} // namespace

KeptText keptText(QStringView old, QStringView next) {
    KeptText best{.from = 0, .size = commonLength(old, next)};
    if (best.size == old.size() || next.size() < keyLength) {
        return best;
    }
    const QStringView key = next.first(keyLength);
    qsizetype at = old.indexOf(key);
    for (int tries = 0; at >= 0 && tries < maximumTries; ++tries) {
        const qsizetype size = commonLength(old.sliced(at), next);
        if (size > best.size) {
            best = {.from = at, .size = size};
        }
        if (at + size == old.size()) {
            break;
        }
        at = old.indexOf(key, at + 1);
    }
    return best;
}

} // namespace orvanel
