#include "app/widgets/ToolTip.h"

#include "platform/ShortText.h"

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr qsizetype longest = 1000;

} // namespace

QString plainToolTip(const QString& text) {
    const QString shown = shortened(text, longest);
    return u"<p style='white-space:pre-wrap'>%1</p>"_s.arg(shown.toHtmlEscaped());
}

} // namespace orvanel
