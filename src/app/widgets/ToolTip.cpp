#include "app/widgets/ToolTip.h"

#include "platform/ShortText.h"

namespace orvanel {
namespace {

constexpr qsizetype longest = 1000;

} // namespace

QString plainToolTip(const QString& text) {
    const QString shown = shortened(text, longest);
    return QStringLiteral("<p style='white-space:pre-wrap'>%1</p>").arg(shown.toHtmlEscaped());
}

} // namespace orvanel
