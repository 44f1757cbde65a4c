#pragma once

#include "backup/FileSystem.h"

#include <QString>

#include <functional>
#include <set>
#include <stop_token>
#include <string>

namespace orvanel {

struct CopyOptions {
    /// Names of files directly in the source that are left out. A link or a folder of such a name is copied.
    std::set<std::string> leaveOut = {};
    /// Called when all else is copied and the folders may still be written to: it copies what was left out.
    std::function<void()> copyRest = {};
    /// What is gone when its turn comes (a live folder's files come and go) is left out; else it is an error.
    bool mayVanish = false;
    /// A folder that must not be met in the source, because the copy goes there.
    FileId never = {};
    /// Looked at before each file: the copy then ends with Cancelled.
    std::stop_token stop = {};
    /// An earlier copy of the source: what has not changed since is shared with it where shareFile() can. May be empty.
    QString earlier = {};
};

/// Copies the folder `source` (a link to one is followed) to the new folder `target`: files, folders, links as links,
/// hard links as hard links, permissions, dates, holes. Sockets, pipes and devices hold no data and are left out; none
/// of them is opened to wait for. Two files are copied side by side.
///
/// Throws a file error at the first failure; what has been copied by then is left there.
/// Blocks; any thread.
void copyTree(const QString& source, const QString& target, const CopyOptions& options = {});

/// Copies single files directly in `source`, in this order, into the existing folder `target`. Missing ones are left
/// out.
void copyFiles(const QString& source, const QString& target, const std::vector<std::string>& names);

} // namespace orvanel
