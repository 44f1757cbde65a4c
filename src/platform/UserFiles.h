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

/// Largest file that readSmallFile() takes, in bytes: far more than a settings file or a desktop entry needs. A larger
/// one could harm: Qt reads objects within objects without counting how deep it is, and in a settings file of 280 kB
/// they end a stack of 8 MiB; each word of a command is looked up.
constexpr qint64 smallFileLimit = 1 << 16;

/// The content of a regular file of at most `smallFileLimit`; none when there is no such file or it cannot be read.
/// Never blocks, whatever lies there: pipes and devices are not opened.
std::optional<QByteArray> readSmallFile(const QString& path);

} // namespace orvanel
