#pragma once

#include <QCoro/QCoroTask>
#include <QString>

namespace orvanel {

/// Zip archives, made and unpacked by the platform's archiver: "/usr/bin/ditto" where there is one, else
/// "/usr/bin/bsdtar". ORVANEL_TOOL_ROOT stands in for "/" when ditto is looked for.
namespace ZipArchive {

/// Packs the folder, as the one top-level entry, into the new file `archive`. Throws "Could not create the zip file. "
/// followed by the tool's words.
QCoro::Task<void> pack(QString folder, QString archive);

/// Unpacks into the empty folder `folder`; whatever the archive holds, nothing is written outside of it. Throws "Could
/// not open the zip file. " followed by the reason; some of it may then lie in the folder.
QCoro::Task<void> unpack(QString archive, QString folder);

} // namespace ZipArchive

} // namespace orvanel
