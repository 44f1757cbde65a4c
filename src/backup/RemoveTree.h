#pragma once

#include <QString>

namespace orvanel {

/// Removes a file, a link, or a folder with everything in it, however deep; follows no link. It is no error if nothing
/// is there. Goes on past what cannot be removed, and at the end throws the first file error.
void removeTree(const QString& path);

} // namespace orvanel
