#pragma once

#include <QWidget>

namespace orvanel {

class SettingsStore;

/// Gives a new window the size and place that the window of that id had when it was last closed, and saves those that
/// it has when it is closed. Where the desktop places windows itself (Wayland), only the size is kept. A saved place
/// that cannot be read or is on no screen any more is ignored.
void rememberPlace(QWidget* window, const QString& id, SettingsStore& settings);

} // namespace orvanel
