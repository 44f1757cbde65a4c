#pragma once

#include <QString>

namespace orvanel {

using namespace Qt::StringLiterals;

/// The beginning of `text` and "…", where it is longer than `longest`; no character is cut in two.
inline QString shortened(const QString& text, qsizetype longest) {
    if (text.size() <= longest) {
        return text;
    }
    const bool cutsCharacter = text[longest].isLowSurrogate();
    return text.left(cutsCharacter ? longest - 1 : longest) + u"…"_s;
}

} // namespace orvanel
