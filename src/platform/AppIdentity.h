#pragma once

#include <QString>

/// The names by which the desktop knows this program; the installed desktop file, icon and metadata carry the same.
namespace orvanel::identity {

using namespace Qt::StringLiterals;

inline QString applicationName() {
    return u"Orvanel"_s;
}

/// Name of the desktop file without its suffix, and of the program on the session bus.
inline QString desktopId() {
    return u"io.github.orvanel.Orvanel"_s;
}

/// Object path that belongs to the desktop id.
inline QString busPath() {
    return u"/io/github/orvanel/Orvanel"_s;
}

/// Name of the icon in the icon theme.
inline QString iconName() {
    return desktopId();
}

} // namespace orvanel::identity
