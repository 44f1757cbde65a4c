#pragma once

#include <QString>

/// The names by which the desktop knows this program; the installed desktop file, icon and metadata carry the same.
namespace orvanel::identity {

inline QString applicationName() {
    return QStringLiteral("Orvanel");
}

/// Name of the desktop file without its suffix, and of the program on the session bus.
inline QString desktopId() {
    return QStringLiteral("io.github.orvanel.Orvanel");
}

/// Object path that belongs to the desktop id.
inline QString busPath() {
    return QStringLiteral("/io/github/orvanel/Orvanel");
}

/// Name of the icon in the icon theme.
inline QString iconName() {
    return desktopId();
}

} // namespace orvanel::identity
