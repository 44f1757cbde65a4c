#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <optional>

namespace orvanel {

/// What a zip archive says of itself. It may lie.
struct ZipListing {
    qint64 entries = 0;
    /// Bytes of all files when unpacked.
    qint64 bytes = 0;

    bool operator==(const ZipListing&) const = default;
};

/// Zip archives, made and unpacked by the platform's archiver: "/usr/bin/ditto" where there is one, else
/// "/usr/bin/bsdtar". ORVANEL_TOOL_ROOT stands in for "/" when ditto is looked for.
namespace ZipArchive {

/// Packs the folder, as the one top-level entry, into the new file `archive`. Throws "Could not create the zip file. "
/// followed by the tool's words.
QCoro::Task<void> pack(QString folder, QString archive);

/// Unpacks into the empty folder `folder`; whatever the archive holds, nothing is written outside of it. Throws "Could
/// not open the zip file. " followed by the reason; some of it may then lie in the folder.
QCoro::Task<void> unpack(QString archive, QString folder);

/// What libarchive, of which bsdtar is made, reads of the list at the end. None when the file cannot be read or the
/// list does not agree with what stands before it: the archive is cut, damaged or none. Blocks; any thread.
std::optional<ZipListing> list(const QString& archive);

} // namespace ZipArchive

} // namespace orvanel
