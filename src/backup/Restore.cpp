#include "backup/Restore.h"

#include "backup/BackupManager.h"
#include "backup/CopyTree.h"
#include "backup/DiskRoom.h"
#include "backup/FileError.h"
#include "backup/RemoveTree.h"
#include "backup/SafePaths.h"
#include "backup/Swap.h"
#include "backup/UnpackedCheck.h"
#include "backup/WorkFolder.h"

#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <unistd.h>

namespace orvanel {
namespace {

const QString keptPrefix = QStringLiteral("before-restore-");

/// A folder can only be given another parent by those who may write into it, and Docker may have made it as root.
void requireMovable(const QString& dataDir) {
    const auto status = statusOf(dataDir);
    const bool isOwn = status && status->st_uid == ::geteuid();
    if (status && !isOwn && !QFileInfo(dataDir).isWritable()) {
        throw AppError(QStringLiteral("The current data cannot be moved to the Backups folder, because it belongs to "
                                      "another user. Nothing was changed."));
    }
}

/// Renames the data folder to its place among the backups and back, when what should follow fails.
class KeptData {
public:
    KeptData(QString dataDir, const QString& backupsDir)
        : m_dataDir(std::move(dataDir))
        , m_kept(freeName(backupsDir + u'/' + keptPrefix + BackupManager::timestamp())) {
        moveTo(m_dataDir, m_kept);
    }

    void putBack() const { moveTo(m_kept, m_dataDir); }

private:
    QString m_dataDir;
    QString m_kept;
};

} // namespace

QString findUnpackedData(const QString& folder) {
    if (BackupManager::looksLikeData(folder)) {
        return folder;
    }
    const QStringList names = namesIn(folder);
    for (const QString& name : names) {
        const QString inner = folder + u'/' + name;
        if (name != u"__MACOSX" && isFolder(inner) && BackupManager::looksLikeData(inner)) {
            // What stays inside the whole may still leave this part of it.
            requireHarmless(inner);
            return inner;
        }
    }
    throw AppError(QStringLiteral("That zip does not look like an Uptime Kuma data folder (no kuma.db)."));
}

void restoreFolder(const QString& source, const QString& origin, const QString& dataDir, const QString& backupsDir) {
    if (!BackupManager::looksLikeData(source)) {
        throw AppError(QStringLiteral("That folder does not look like an Uptime Kuma data folder (no kuma.db)."));
    }
    makeFolder(backupsDir);
    // Where the data folder is a link, what it leads to is replaced, and the link stays.
    const QString data = isSame(dataDir, dataDir) ? resolved(dataDir) : placeOf(dataDir);
    requireMovable(data);

    const WorkFolder work(parentOf(data));
    requireRoom(work.path(), bytesUsedBy(source));
    const QString fresh = work.path(QStringLiteral("data"));
    copyTree(resolved(source), fresh, {.never = work.id()});
    syncFileSystem(work.path());

    std::optional<KeptData> kept;
    const QStringList before = namesIn(backupsDir);
    if (statusOf(data)) {
        kept.emplace(data, backupsDir);
    }
    try {
        moveTo(fresh, data);
    } catch (const AppError&) {
        if (kept) {
            kept->putBack();
        }
        throw;
    }
    for (const QString& name : before) {
        const QString older = backupsDir + u'/' + name;
        if (kept && name.startsWith(keptPrefix) && !isInside(origin, older)) {
            try {
                removeTree(older);
            } catch (const AppError&) {
                // The next restore tries again.
                continue;
            }
        }
    }
}

} // namespace orvanel
