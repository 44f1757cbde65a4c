#pragma once

#include <QString>

namespace orvanel {

/// Throws a sentence if a folder unpacked from a stranger's archive contains anything but files, folders, and links
/// that stay inside it. Refused are links that are absolute or may lead out, files that have another name outside,
/// devices, pipes and sockets. Blocks; any thread.
void requireHarmless(const QString& folder);

/// Throws a sentence if an archive of the folder could not be restored as it is: if a name in it is not UTF-8, or if
/// requireHarmless() would refuse a link in it. Returns how many entries an archive of the folder has. Blocks; any
/// thread.
qint64 requirePackable(const QString& folder);

} // namespace orvanel
