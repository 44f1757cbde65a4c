#pragma once

#include "process/FileDescriptor.h"

#include <QString>

#include <vector>

namespace orvanel {

/// A work folder that a crashed run left. It is locked as long as this lives: no other run takes it for one.
struct Leftover {
    QString path;
    FileDescriptor folder;
};

/// Opens and locks a work folder; a closed descriptor when that is not possible or another process holds it. A file
/// system without locks holds nothing.
FileDescriptor lockFolder(const QString& path);

/// This user's work folders in `parent` with names of `prefix` and a UUID whose makers no longer live. Blocks; any
/// thread.
std::vector<Leftover> leftoversIn(const QString& parent, const QString& prefix);

} // namespace orvanel
