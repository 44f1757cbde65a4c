#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace orvanel {

/// Largest file that readSmallFile() takes, in bytes.
constexpr qint64 smallFileLimit = 1 << 20;

/// The content of a regular file of at most `smallFileLimit`; none when there is no such file or it cannot be read.
/// Never blocks, whatever lies there: pipes and devices are not opened.
std::optional<QByteArray> readSmallFile(const QString& path);

} // namespace orvanel
