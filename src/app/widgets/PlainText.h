#pragma once

#include <QString>

namespace orvanel {

/// These functions keep a text as it is written where Qt would read it as markup.

/// For a button or menu entry, where '&' marks a mnemonic.
QString plainButtonText(const QString& text);

/// For a tooltip, where Qt takes what looks like HTML for HTML. Very long texts are cut.
QString plainToolTip(const QString& text);

} // namespace orvanel
