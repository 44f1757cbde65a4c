#include "backup/DiskRoom.h"

#include "backup/FileSystem.h"
#include "task/Clock.h"
#include "task/Worker.h"

#include <QFile>
#include <QLocale>

#include <fcntl.h>
#include <limits>
#include <set>
#include <sys/statvfs.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// `seen` holds the files with more than one name that have been counted.
qint64 bytesUsedIn(const FileDescriptor& folder, std::set<FileId>& seen) {
    if (!folder.isOpen()) {
        return 0;
    }
    qint64 sum = 0;
    for (const std::string& name : entriesOf(folder.get(), {})) {
        struct stat status {};
        if (::fstatat(folder.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        const bool hasNames = S_ISREG(status.st_mode) && status.st_nlink > 1;
        if (hasNames && !seen.insert(FileId(status)).second) {
            continue;
        }
        constexpr qint64 unit = 512;
        sum += status.st_blocks * unit;
        if (S_ISDIR(status.st_mode)) {
            sum += bytesUsedIn(openFolder(folder.get(), name), seen);
        }
    }
    return sum;
}

} // namespace

qint64 bytesUsedBy(const QString& folder) {
    return bytesUsedBy(QStringList(folder));
}

qint64 bytesUsedBy(const QStringList& folders) {
    qint64 sum = 0;
    std::set<FileId> seen;
    for (const QString& folder : folders) {
        try {
            sum += bytesUsedIn(
                FileDescriptor(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
                seen);
        } catch (const AppError&) {
            continue;
        }
    }
    return sum;
}

qint64 bytesFreeAt(const QString& path) {
    struct statvfs status {};
    if (::statvfs(QFile::encodeName(path).constData(), &status) != 0 || status.f_blocks == 0) {
        return std::numeric_limits<qint64>::max();
    }
    return static_cast<qint64>(status.f_bavail) * static_cast<qint64>(status.f_frsize);
}

qint64 bytesInAllAt(const QString& path) {
    struct statvfs status {};
    if (::statvfs(QFile::encodeName(path).constData(), &status) != 0) {
        return 0;
    }
    return static_cast<qint64>(status.f_blocks) * static_cast<qint64>(status.f_frsize);
}

QString roomSentence(qint64 needed, qint64 free) {
    const QLocale words(QLocale::English);
    return u"There is not enough space on the disk: %1 needed, %2 free."_s.arg(words.formattedDataSize(needed),
                                                                               words.formattedDataSize(free));
}

void requireRoom(const QString& path, qint64 bytes) {
    const qint64 free = bytesFreeAt(path);
    if (free < bytes) {
        throw AppError(roomSentence(bytes, free));
    }
}

QCoro::Task<bool> watchRoom(QString folder, qint64 least, std::shared_ptr<ProcessHandle> handle, std::stop_token stop) {
    const auto look = [folder] { return bytesFreeAt(folder); };
    while (!stop.stop_requested()) {
        const qint64 free = co_await onWorker(look);
        if (free < least) {
            handle->cancel();
            co_return true;
        }
        co_await sleepFor(&SystemClock::instance(), std::chrono::milliseconds(200), stop);
    }
    co_return false;
}

} // namespace orvanel
