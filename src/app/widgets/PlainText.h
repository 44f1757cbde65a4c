#pragma once

#include <QString>

namespace orvanel {

/// Where Qt would read markup into a text, these keep it as it is written.

/// For a button or menu entry, where '&' marks a mnemonic.
QString plainButtonText(const QString& text);

/// For a tooltip, where Qt takes what looks like HTML for HTML. Very long texts are cut.
QString plainToolTip(const QString& text);

} // namespace orvanel
