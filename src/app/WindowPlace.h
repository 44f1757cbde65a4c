#pragma once

#include <QWidget>

namespace orvanel {

class SettingsStore;

/// Gives a new window the size and the place that the window of that id had when it was last closed, and keeps those
/// that it has when it is closed. Where the desktop places windows by itself (Wayland), only the size is kept. What
/// cannot be read, or does not fit onto a screen any more, is as if nothing had been kept.
void rememberPlace(QWidget* window, const QString& id, SettingsStore& settings);

} // namespace orvanel
