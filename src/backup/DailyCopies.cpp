#include "backup/DailyCopies.h"

#include "backup/DataCopy.h"
#include "backup/DiskRoom.h"
#include "backup/FileSystem.h"
#include "backup/Recovery.h"
#include "backup/Retention.h"
#include "backup/SafePaths.h"
#include "backup/WorkFolder.h"
#include "task/Worker.h"

#include <QFile>

#include <algorithm>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// What is left free on the disk as long as there are weekly copies to delete instead.
constexpr qint64 freeShare = 10;

/// Whether the disk of the work folder can share blocks with the files of the data folder. Asks with any file.
bool sharesBlocks(const QString& dataDir, const WorkFolder& work) {
    const char* const probe = "probe";
    const FileDescriptor target(
        ::openat(work.descriptor(), probe, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR));
    bool isShared = false;
    const QStringList names = namesIn(dataDir);
    for (const QString& name : names) {
        const FileDescriptor source(::open(QFile::encodeName(dataDir + u'/' + name).constData(),
                                           O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        struct stat status {};
        if (source.isOpen() && ::fstat(source.get(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0) {
            isShared = target.isOpen() && ::ioctl(target.get(), FICLONE, source.get()) == 0;
            break;
        }
    }
    ::unlinkat(work.descriptor(), probe, 0);
    return isShared;
}

/// The bytes of the files below an open folder that look different from those of the same names in `earlier`, which may
/// be closed.
qint64 bytesOfChanges(const FileDescriptor& folder, const FileDescriptor& earlier) {
    if (!folder.isOpen()) {
        return 0;
    }
    qint64 sum = 0;
    for (const std::string& name : entriesOf(folder.get(), {})) {
        struct stat status {};
        struct stat old {};
        if (::fstatat(folder.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        const bool isOld = earlier.isOpen() && ::fstatat(earlier.get(), name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0;
        if (S_ISDIR(status.st_mode)) {
            sum += bytesOfChanges(openFolder(folder.get(), name),
                                  isOld ? openFolder(earlier.get(), name) : FileDescriptor());
        } else if (!isOld || old.st_size != status.st_size || old.st_mtim.tv_sec != status.st_mtim.tv_sec ||
                   old.st_mtim.tv_nsec != status.st_mtim.tv_nsec) {
            constexpr qint64 unit = 512;
            sum += status.st_blocks * unit;
        }
    }
    return sum;
}

/// Also the scratch copy with which the database is checked.
qint64 bytesNeeded(const QString& dataDir, const QString& earlier) {
    const auto open = [](const QString& path) {
        return FileDescriptor(::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    };
    qint64 sum = bytesOfChanges(open(dataDir), earlier.isEmpty() ? FileDescriptor() : open(earlier));
    for (const std::string& name : databaseFiles()) {
        const auto status = statusOf(dataDir + u'/' + QFile::decodeName(name.c_str()));
        sum += status ? status->st_size : 0;
    }
    return sum;
}

/// Deletes a copy, so that it is whole and marked or gone after a crash at any point.
bool discardCopy(const QString& backupsDir, const DailyCopy& copy) {
    try {
        discard(backupsDir + u'/' + copy.name());
    } catch (const AppError&) {
        // What is left of it has a hidden name, or it is as it was: the next run tries again.
        if (isFolder(backupsDir + u'/' + copy.name())) {
            return false;
        }
    }
    unmarkDailyCopy(backupsDir, copy);
    return true;
}

/// Deletes weekly copies until a tenth of the disk is free beside the needed bytes, or none is left. Their names.
QStringList makeRoom(const QString& backupsDir, qint64 needed, const QList<DailyCopy>& copies) {
    QStringList deleted;
    const qint64 least = bytesInAllAt(backupsDir) / freeShare;
    for (const DailyCopy& copy : weeklyCopies(copies)) {
        if (bytesFreeAt(backupsDir) - needed >= least) {
            break;
        }
        if (discardCopy(backupsDir, copy)) {
            deleted << copy.name();
            try {
                // Some disks tell what is free only then.
                syncFileSystem(backupsDir);
            } catch (const AppError&) {
                continue;
            }
        }
    }
    return deleted;
}

/// The copy with which the next one shares, empty when there is none: the last that nobody has touched.
QString earlierCopy(const QString& backupsDir, const QList<DailyCopy>& copies) {
    const auto found =
        std::find_if(copies.rbegin(), copies.rend(), [](const DailyCopy& copy) { return !copy.isChanged; });
    return found == copies.rend() ? QString() : backupsDir + u'/' + found->name();
}

/// A new copy, whose time no other entry in the Backups folder has.
DailyCopy newCopy(const QString& backupsDir, const QList<DailyCopy>& copies, QDateTime now) {
    const QStringList names = namesIn(backupsDir);
    const auto isTaken = [&](const QString& time) {
        return std::any_of(names.begin(), names.end(), [&](const QString& name) { return name.contains(time); });
    };
    while (isTaken(dailyTime(now))) {
        now = now.addSecs(1);
    }
    return {.time = dailyTime(now), .number = copies.isEmpty() ? 1 : copies.last().number + 1};
}

DailyCopy::Check checkOf(const DatabaseCheck& check) {
    if (check.problem) {
        return DailyCopy::Check::failed;
    }
    return check.notMade ? DailyCopy::Check::notMade : DailyCopy::Check::passed;
}

/// The mark comes first: without it, the copy would be nobody's.
void place(const QString& backupsDir, const DailyCopy& copy, const QString& fresh, const WorkFolder& work) {
    markDailyCopy(backupsDir, copy, fresh, work);
    try {
        moveTo(fresh, backupsDir + u'/' + copy.name());
    } catch (const AppError&) {
        unmarkDailyCopy(backupsDir, copy);
        throw;
    }
}

std::optional<DailyBackupResult> makeCopy(const QString& dataDir, const QString& givenBackups, const QDateTime& now) {
    recoverData(dataDir, givenBackups);
    if (!exists(dataDir)) {
        return std::nullopt;
    }
    if (isInside(givenBackups, dataDir)) {
        throw AppError(u"The Backups folder must not be inside the data folder."_s);
    }
    makeFolder(givenBackups);
    const QString backupsDir = resolved(givenBackups);
    const WorkFolder work(backupsDir);
    removeOrphanedMarks(backupsDir);
    const QList<DailyCopy> copies = comparedDailyCopiesIn(backupsDir);

    DailyCopy copy = newCopy(backupsDir, copies, now);
    copy.sharesBlocks = sharesBlocks(dataDir, work);
    const QString earlier = copy.sharesBlocks ? QString() : earlierCopy(backupsDir, copies);
    const qint64 needed = copy.sharesBlocks ? 0 : bytesNeeded(dataDir, earlier);
    DailyBackupResult result{.deletedForRoom = makeRoom(backupsDir, needed, copies)};
    requireRoom(backupsDir, needed);

    const QString fresh = work.path(u"copy"_s);
    const DatabaseCheck check = copyData(dataDir, work, u"copy"_s, earlier);
    copy.check = checkOf(check);
    place(backupsDir, copy, fresh, work);
    result.backup = {.path = givenBackups + u'/' + copy.name(),
                     .databaseProblem = check.problem,
                     .databaseNotChecked = check.notMade};
    return result;
}

void pruneCopies(const QString& givenBackups) {
    const QString backupsDir = resolved(givenBackups);
    for (const DailyCopy& copy : expiredDailyCopies(comparedDailyCopiesIn(backupsDir))) {
        discardCopy(backupsDir, copy);
    }
}

DailyCopyStock lookAtCopies(const QString& backupsDir) {
    DailyCopyStock stock{.copies = comparedDailyCopiesIn(backupsDir)};
    QStringList folders;
    for (const DailyCopy& copy : std::as_const(stock.copies)) {
        folders << backupsDir + u'/' + copy.name();
        stock.isAtMost = stock.isAtMost || copy.sharesBlocks;
    }
    stock.bytes = bytesUsedBy(folders);
    return stock;
}

} // namespace

QCoro::Task<std::optional<DailyBackupResult>> DailyCopies::make(QString dataDir, QString backupsDir, QDateTime now) {
    const auto job = [dataDir, backupsDir, now] { return makeCopy(dataDir, backupsDir, now); };
    auto result = co_await onWorker(job);
    co_return result;
}

QCoro::Task<void> DailyCopies::prune(QString backupsDir) {
    const auto job = [backupsDir] { pruneCopies(backupsDir); };
    co_await onWorker(job);
}

QCoro::Task<DailyCopyStock> DailyCopies::look(QString backupsDir) {
    const auto job = [backupsDir] { return lookAtCopies(backupsDir); };
    auto stock = co_await onWorker(job);
    co_return stock;
}

} // namespace orvanel
