#pragma once

#include "formats/FileFormats.h"

namespace orvanel {

/// See FileFormats::listZip.
std::optional<ZipListing> listZip(const QString& archive);

} // namespace orvanel
