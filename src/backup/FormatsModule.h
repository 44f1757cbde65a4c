#pragma once

#include "formats/FileFormats.h"

namespace orvanel {

/// The readers of foreign file formats. The first call loads them; they stay. Throws as loadFormats() does. Blocks; any
/// thread.
const FileFormats& fileFormats();

/// Loads them from a module of this name. Throws AppError if there is none, or only that of another version.
const FileFormats& loadFormats(const char* module);

} // namespace orvanel
