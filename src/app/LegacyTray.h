#pragma once

namespace orvanel {

/// Whether an old panel of X11 (System Tray Protocol, "XEmbed") takes icons. Asks the X server itself, because asking
/// QSystemTrayIcon would settle for the whole process that newer panels are never used. False on any other platform.
bool isLegacyTrayPresent();

} // namespace orvanel
