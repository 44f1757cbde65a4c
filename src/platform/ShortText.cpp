#include "platform/ShortText.h"

using namespace Qt::StringLiterals;

namespace orvanel {

QString shortened(const QString& text, qsizetype longest) {
    if (text.size() <= longest) {
        return text;
    }
    const bool cutsCharacter = text[longest].isLowSurrogate();
    return text.left(cutsCharacter ? longest - 1 : longest) + u"…"_s;
}

} // namespace orvanel
