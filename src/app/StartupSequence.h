#pragma once

#include <QString>

namespace orvanel {

/// Tells an X11 desktop that what it started under that id (DESKTOP_STARTUP_ID) has started, so that it no longer shows
/// a busy pointer for it. Does nothing without an id, and on other displays.
void endStartupSequence(const QString& id);

} // namespace orvanel
