#pragma once

#include <QStringView>

namespace orvanel {

/// The part of a text that is also the beginning of the text that follows it.
struct KeptText {
    qsizetype from = 0;
    qsizetype size = 0;

    bool operator==(const KeptText&) const = default;
};

/// What of `old` may stay when it becomes `next`. Finds the part for a text that only grew, and for one that lost lines
/// at its front as well, as a log does of which only the end is read. A character is never cut in two.
KeptText keptText(QStringView old, QStringView next);

} // namespace orvanel
