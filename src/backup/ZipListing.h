#pragma once

#include <QString>

#include <optional>

namespace orvanel {

/// What a zip archive says of itself at its end. It may lie.
struct ZipListing {
    qint64 entries = 0;
    /// Bytes of all files when unpacked.
    qint64 bytes = 0;

    bool operator==(const ZipListing&) const = default;
};

/// None when the file cannot be read or has no such list: it is cut, or no zip archive. Blocks; any thread.
std::optional<ZipListing> readZipListing(const QString& archive);

/// Whether a file begins like a zip archive. Blocks; any thread.
bool beginsLikeZip(const QString& archive);

} // namespace orvanel
