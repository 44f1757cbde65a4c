#pragma once

#include <QString>

namespace orvanel {

/// Throws a sentence when a folder unpacked from a stranger's archive holds anything but files, folders, and links that
/// stay inside it: a link that is absolute or may lead out, another name of a file outside, a device, pipe or socket.
/// Blocks; any thread.
void requireHarmless(const QString& folder);

/// Throws a sentence when a folder cannot be packed so that it comes back as it is: a name in it is no UTF-8, or a link
/// in it may lead out, so that requireHarmless() would refuse it. Its result is how many entries an archive of the
/// folder has. Blocks; any thread.
qint64 requirePackable(const QString& folder);

} // namespace orvanel
