#include "backup/Restore.h"

#include "backup/BackupManager.h"
#include "backup/CopyTree.h"
#include "backup/DiskRoom.h"
#include "backup/FileSystem.h"
#include "backup/Recovery.h"
#include "backup/SafePaths.h"
#include "backup/Swap.h"
#include "backup/UnpackedCheck.h"
#include "backup/WorkFolder.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// Only a user who may write into a folder can move it, and Docker may have created the data folder as root.
void requireMovable(const QString& dataDir) {
    const auto status = statusOf(dataDir);
    const bool isOwn = status && status->st_uid == ::geteuid();
    if (status && !isOwn && !QFileInfo(dataDir).isWritable()) {
        throw AppError(u"The current data cannot be moved to the Backups folder, because it belongs to "
                       "another user. Nothing was changed."_s);
    }
}

FileId idOf(const QString& path) {
    const auto status = statusOf(path);
    return status ? FileId(*status) : FileId();
}

/// Whether a rename between the two places is possible: a mount point in between prevents it even within one file
/// system.
bool isOneMount(const QString& path, const QString& other) {
    const auto mountOf = [](const QString& at) {
        struct statx status {};
        const bool isKnown =
            ::statx(AT_FDCWD, QFile::encodeName(at).constData(), AT_SYMLINK_NOFOLLOW, STATX_MNT_ID, &status) == 0 &&
            (status.stx_mask & STATX_MNT_ID) != 0;
        return isKnown ? status.stx_mnt_id : 0;
    };
    return idOf(path).device == idOf(other).device && mountOf(path) == mountOf(other);
}

/// The name of the copy in the work folder among the backups.
const QString copyName = u"data"_s;

/// Moves the data folder to its place among the backups: by a rename, or by a copy where a rename is not possible.
class KeptData {
public:
    KeptData(QString dataDir, QString backupsDir, std::stop_token stop)
        : m_dataDir(std::move(dataDir))
        , m_id(idOf(m_dataDir))
        , m_backupsDir(std::move(backupsDir))
        , m_stop(std::move(stop)) {
        if (!isOneMount(m_dataDir, m_backupsDir)) {
            makeCopy();
        }
    }

    /// Returns where the data is kept. When it throws, the data folder is as it was, or the sentence tells where it is.
    QString replaceBy(const QString& fresh, WorkFolder& work) {
        throwIfStopped(m_stop);
        QString kept = freeName(m_backupsDir + u'/' + keptPrefix + BackupManager::timestamp());
        if (!m_copy) {
            noteRestore(work, fresh, kept);
            if (!moveIfPossible(m_dataDir, kept)) {
                forgetRestore(work);
                makeCopy();
            }
        }
        if (m_copy) {
            moveTo(m_copy->path(copyName), kept);
        }
        try {
            if (m_copy) {
                putInPlace(fresh, m_dataDir, work);
            } else {
                moveTo(fresh, m_dataDir);
            }
        } catch (const AppError& error) {
            takeBack(kept, error, work);
            throw;
        }
        return kept;
    }

private:
    void makeCopy() {
        m_copy.emplace(m_backupsDir);
        requireRoom(m_backupsDir, bytesUsedBy(m_dataDir));
        copyTree(m_dataDir, m_copy->path(copyName), {.never = m_copy->id(), .stop = m_stop});
        syncFileSystem(m_backupsDir);
    }

    void takeBack(const QString& kept, const AppError& error, WorkFolder& work) const {
        if (m_copy) {
            // The data itself is still in its place, so the copy is not needed.
            if (idOf(m_dataDir) == m_id) {
                discard(kept);
            }
            return;
        }
        try {
            moveTo(kept, m_dataDir);
        } catch (const AppError&) {
            work.keep();
            throw AppError(u"%1. The current data is now in %2"_s.arg(error.message(), shownPath(kept)));
        }
    }

    QString m_dataDir;
    FileId m_id;
    QString m_backupsDir;
    std::stop_token m_stop;
    std::optional<WorkFolder> m_copy;
};

/// Removes what earlier restores kept, except the folder from which the user restores.
void removeOlder(const QStringList& names, const QString& backupsDir, const QString& origin) {
    for (const QString& name : names) {
        const QString older = backupsDir + u'/' + name;
        if (!name.startsWith(keptPrefix) || isInside(origin, older)) {
            continue;
        }
        try {
            discard(older);
        } catch (const AppError&) {
            // The next restore tries again.
            continue;
        }
    }
}

} // namespace

QString findUnpackedData(const QString& folder) {
    if (BackupManager::looksLikeData(folder)) {
        return folder;
    }
    const QStringList names = namesIn(folder);
    for (const QString& name : names) {
        QString inner = folder + u'/' + name;
        if (name != u"__MACOSX" && isFolder(inner) && BackupManager::looksLikeData(inner)) {
            // A link that stays inside the archive may still point outside this folder.
            requireHarmless(inner);
            return inner;
        }
    }
    throw AppError(u"That zip does not look like an Uptime Kuma data folder (no kuma.db)."_s);
}

void restoreFolder(const QString& source, const QString& origin, const QString& dataDir, const QString& backupsDir,
                   const std::stop_token& stop) {
    if (!BackupManager::looksLikeData(source)) {
        throw AppError(u"That folder does not look like an Uptime Kuma data folder (no kuma.db)."_s);
    }
    if (dataVersionOf(source) == DataVersion::converting) {
        throw AppError(BackupManager::interruptedSentence());
    }
    makeFolder(backupsDir);
    // Where the data folder is a link, its target is replaced and the link stays.
    const QString data = dataPlaceOf(dataDir);
    requireMovable(data);

    WorkFolder work(parentOf(data));
    requireRoom(work.path(), bytesUsedBy(source));
    const QString fresh = work.path(u"data"_s);
    copyTree(resolved(source), fresh, {.never = work.id(), .stop = stop});
    syncFileSystem(work.path());
    if (!statusOf(data)) {
        throwIfStopped(stop);
        moveTo(fresh, data);
        return;
    }
    const QString backups = resolved(backupsDir);
    const QStringList before = namesIn(backups);
    const QString kept = KeptData(data, backups, stop).replaceBy(fresh, work);
    // An empty data folder, made by a program that did not find the data, must not push out an earlier kept copy.
    if (BackupManager::looksLikeData(kept) && !isRestorePending(parentOf(data), work.path())) {
        removeOlder(before, backups, origin);
    }
}

} // namespace orvanel
