#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <optional>
#include <stop_token>

namespace orvanel {

/// What a zip archive says about itself, which need not be true.
struct ZipListing {
    qint64 entries = 0;
    /// The size of all files when unpacked, in bytes.
    qint64 bytes = 0;

    bool operator==(const ZipListing&) const = default;
};

/// Zip archives, made and unpacked by the platform's archiver: "/usr/bin/ditto" where there is one, else
/// "/usr/bin/bsdtar". ORVANEL_TOOL_ROOT stands in for "/" when ditto is looked for.
namespace ZipArchive {

/// Packs the folder, as the only top-level entry, into the new file `archive`. Throws "Could not create the zip file. "
/// followed by the tool's output.
QCoro::Task<void> pack(QString folder, QString archive);

/// Unpacks into the empty folder `folder`. Nothing is written outside of it, whatever the archive contains. Throws
/// "Could not open the zip file. " followed by the reason; part of the content may then be in the folder.
///
/// If `stop` is requested, the archiver is ended and Cancelled is thrown.
QCoro::Task<void> unpack(QString archive, QString folder, std::stop_token stop = {});

/// The same for the files of the database kuma.db alone, at the top or one folder down.
QCoro::Task<void> unpackDatabase(QString archive, QString folder);

/// Reads the list at the end of the archive with libarchive, which bsdtar is made of. None if the file cannot be read
/// or the list does not match the rest of the file: the archive is cut off, damaged or not a zip archive. Blocks; any
/// thread.
std::optional<ZipListing> list(const QString& archive);

} // namespace ZipArchive

} // namespace orvanel
