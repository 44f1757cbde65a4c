#include "app/widgets/ToolTip.h"

namespace orvanel {
namespace {

constexpr qsizetype longest = 1000;

} // namespace

QString plainToolTip(const QString& text) {
    const QString shown = text.size() > longest ? text.left(longest) + QStringLiteral("…") : text;
    return QStringLiteral("<p style='white-space:pre-wrap'>%1</p>").arg(shown.toHtmlEscaped());
}

} // namespace orvanel
