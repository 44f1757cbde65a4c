#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

/// Where this user's files belong. Absolute paths that need not exist; read from the environment at each call.
namespace orvanel::folders {

/// The user's application data ("~/.local/share" unless XDG_DATA_HOME says otherwise).
QString applicationSupport();

/// The user's configuration ("~/.config" unless XDG_CONFIG_HOME says otherwise).
QString configuration();

} // namespace orvanel::folders

namespace orvanel {

/// The size of the largest file that readSmallFile() takes, in bytes. This is far more than a settings file or a
/// desktop entry needs. Larger files can do harm: Qt reads nested objects without limiting their depth, so a settings
/// file of 280 kB can overflow a stack of 8 MiB; and each word of a desktop entry's command is looked up in the file
/// system.
constexpr qint64 smallFileLimit = 1 << 16;

/// The content of a regular file of at most `smallFileLimit` bytes; none if there is no such file or it cannot be read.
/// Never blocks, because pipes and devices are not opened.
std::optional<QByteArray> readSmallFile(const QString& path);

} // namespace orvanel
