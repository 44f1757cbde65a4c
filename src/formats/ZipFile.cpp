#include "formats/ZipFile.h"

#include <QFile>

#include <archive.h>
#include <archive_entry.h>
#include <limits>
#include <memory>

namespace orvanel {
namespace {

struct CloseArchive {
    void operator()(archive* file) const { ::archive_read_free(file); }
};

} // namespace

std::optional<ZipListing> listZip(const QString& archive) {
    constexpr std::size_t block = std::size_t{64} * 1024;
    const std::unique_ptr<::archive, CloseArchive> file(::archive_read_new());
    // Supports only the reader that starts with the list at the end. The other one unpacks everything to find the next
    // entry.
    if (::archive_read_support_format_zip_seekable(file.get()) != ARCHIVE_OK ||
        ::archive_read_open_filename(file.get(), QFile::encodeName(archive).constData(), block) != ARCHIVE_OK) {
        return std::nullopt;
    }
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    ZipListing listing;
    archive_entry* entry = nullptr;
    int result = ::archive_read_next_header(file.get(), &entry);
    while (result == ARCHIVE_OK || result == ARCHIVE_WARN) {
        const qint64 bytes = ::archive_entry_size(entry);
        listing.bytes = bytes < 0 || bytes > most - listing.bytes ? most : listing.bytes + bytes;
        ++listing.entries;
        result = ::archive_read_next_header(file.get(), &entry);
    }
    return result == ARCHIVE_EOF ? std::optional(listing) : std::nullopt;
}

} // namespace orvanel
