#pragma once

#include <QString>

namespace orvanel {

/// A tooltip that shows `text` as it stands, cut where it is very long: Qt takes what looks like HTML for HTML.
QString plainToolTip(const QString& text);

} // namespace orvanel
