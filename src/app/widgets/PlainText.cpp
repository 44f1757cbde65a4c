#include "app/widgets/PlainText.h"

#include "platform/ShortText.h"

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr qsizetype longestToolTip = 1000;

} // namespace

QString plainButtonText(const QString& text) {
    QString plain = text;
    return plain.replace(u'&', u"&&"_s);
}

QString plainToolTip(const QString& text) {
    const QString shown = shortened(text, longestToolTip);
    return u"<p style='white-space:pre-wrap'>%1</p>"_s.arg(shown.toHtmlEscaped());
}

} // namespace orvanel
