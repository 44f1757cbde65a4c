#pragma once

#include <QString>

/// Where this user's files belong. Absolute paths that need not exist; read from the environment at each call.
namespace orvanel::folders {

/// The user's application data ("~/.local/share" unless XDG_DATA_HOME says otherwise).
QString applicationSupport();

/// The user's configuration ("~/.config" unless XDG_CONFIG_HOME says otherwise).
QString configuration();

} // namespace orvanel::folders
