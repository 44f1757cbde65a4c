#pragma once

#include <QIcon>

namespace orvanel {

/// The program's own icon: the desktop theme's where the program is installed, else the one it brings along. Read when
/// it is first drawn, so that the idle program loads nothing for it.
QIcon applicationIcon();

} // namespace orvanel
