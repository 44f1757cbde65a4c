#pragma once

#include "formats/FileFormats.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <optional>
#include <stop_token>

namespace orvanel {

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

/// See FileFormats::listZip. Throws AppError if the installation lacks the readers. Blocks; any thread.
std::optional<ZipListing> list(const QString& archive);

} // namespace ZipArchive

} // namespace orvanel
