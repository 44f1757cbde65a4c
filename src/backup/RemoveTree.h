#pragma once

#include <QString>

namespace orvanel {

/// Removes a file, a link or a folder with all that is in it, however deep; follows no link. Nothing there is fine.
/// Goes on past what cannot be removed, and then throws what the platform said of the first of it.
void removeTree(const QString& path);

} // namespace orvanel
