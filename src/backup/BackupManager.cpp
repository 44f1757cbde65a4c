#include "backup/BackupManager.h"

#include "backup/DataCopy.h"
#include "backup/DiskRoom.h"
#include "backup/FileSystem.h"
#include "backup/Fingerprint.h"
#include "backup/Recovery.h"
#include "backup/Restore.h"
#include "backup/SafePaths.h"
#include "backup/Swap.h"
#include "backup/WorkFolder.h"
#include "backup/ZipArchive.h"
#include "task/Worker.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QLocale>

#include <memory>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// Archives are unpacked into a folder of their own, so that nothing in them can pass for what a work folder holds.
const QString unpackedName = u"unpacked"_s;

/// The folder in a work folder that holds the one that is packed.
const QString toPackName = u"to pack"_s;

bool isZip(const QString& path) {
    const QString name = nameOf(QDir::cleanPath(path));
    return name.size() > 4 && name.endsWith(u".zip", Qt::CaseInsensitive);
}

/// A backup to a disk without links may have been killed while it had its copy there.
void removeLeftoversBeside(const QString& dataDir) {
    WorkFolder::removeLeftovers(parentOf(dataPlaceOf(dataDir)));
}

/// A free name beside `place`, before the extension of a zip: "copy (check failed).zip", "copy (check failed) 2.zip", …
QString placeBeside(const QString& place, const DatabaseCheck& check) {
    const qsizetype extension = isZip(place) ? 4 : 0;
    const QString stem = place.chopped(extension) + (check.problem ? u" (check failed)"_s : u" (not checked)"_s);
    QString beside = stem + place.last(extension);
    for (int number = 2; statusOf(beside); ++number) {
        beside = stem + u' ' + QString::number(number) + place.last(extension);
    }
    return beside;
}

/// Puts the backup `fresh`, which lies in `work`, where it was wanted. One that did not pass its check never replaces
/// an older one.
BackupResult place(const QString& fresh, const QString& destination, const DatabaseCheck& check, WorkFolder& work) {
    BackupResult result{destination, check.problem, check.notMade};
    const QString wanted = placeOf(destination);
    if (check.hasPassed()) {
        putInPlace(fresh, wanted, work);
        return result;
    }
    if (statusOf(wanted)) {
        result.path = placeBeside(wanted, check);
    }
    moveTo(fresh, placeOf(result.path));
    return result;
}

BackupResult backUpToFolder(const QString& dataDir, const QString& destination) {
    const QString wanted = placeOf(destination);
    requireBackupPlace(wanted, dataDir);
    removeLeftoversBeside(dataDir);
    const PlaceNote note(parentOf(dataPlaceOf(dataDir)), parentOf(wanted));
    WorkFolder work(parentOf(wanted));
    const QString name = u"copy"_s;
    const DatabaseCheck check = copyData(dataDir, work, name);
    return place(work.path(name), destination, check, work);
}

/// A zip backup on its way through its steps.
struct ZipBackup {
    std::shared_ptr<PlaceNote> note;
    /// Beside the destination, for the archive, and where the copy of the data is made from which it is packed.
    std::shared_ptr<WorkFolder> work;
    std::shared_ptr<WorkFolder> staging;
    QString destination;
    QString folder;
    QString archive;
    DatabaseCheck check;
};

/// Copies the data to where it is packed from, in `staging`.
void copyToPack(ZipBackup& zip, const QString& dataDir, std::shared_ptr<WorkFolder> staging) {
    zip.staging = std::move(staging);
    makeFolder(zip.staging->path(toPackName));
    // The single folder in the archive has the name of the data folder.
    const QString name = toPackName + u'/' + nameOf(placeOf(dataDir));
    zip.folder = zip.staging->path(name);
    zip.check = copyData(dataDir, *zip.staging, name);
}

/// Tries the second way when the first fails. When both fail, throws the reason of the first.
template <class First, class Second>
void tryInTurn(const First& first, const Second& second) {
    try {
        first();
    } catch (const AppError&) {
        const std::exception_ptr reason = std::current_exception();
        try {
            second();
        } catch (const AppError&) {
            std::rethrow_exception(reason);
        }
    }
}

/// The copy that is packed is made beside the destination where that disk supports links and has space for the copy and
/// the archive: that spares the disk on which the server is working. Otherwise it is made beside the data, where links,
/// permissions and dates are sure to be kept.
void stageZip(ZipBackup& zip, const QString& dataDir) {
    const qint64 bytes = bytesUsedBy(dataDir);
    const auto besideDestination = [&] { copyToPack(zip, dataDir, zip.work); };
    const auto besideData = [&] {
        const QString parent = parentOf(dataPlaceOf(dataDir));
        requireRoom(parent, bytes);
        copyToPack(zip, dataDir, std::make_shared<WorkFolder>(parent));
    };
    if (zip.work->holdsLinks() && bytesFreeAt(zip.work->path()) / 2 >= bytes) {
        besideDestination();
    } else {
        tryInTurn(besideData, besideDestination);
    }
}

ZipBackup prepareZip(const QString& dataDir, const QString& destination) {
    ZipBackup zip;
    zip.destination = destination;
    const QString wanted = placeOf(destination);
    requireBackupPlace(wanted, dataDir);
    requireNoKeptData(wanted, dataDir);
    removeLeftoversBeside(dataDir);
    zip.note = std::make_shared<PlaceNote>(parentOf(dataPlaceOf(dataDir)), parentOf(wanted));
    zip.work = std::make_shared<WorkFolder>(parentOf(wanted));
    zip.archive = zip.work->path(u"archive.zip"_s);
    stageZip(zip, dataDir);
    return zip;
}

BackupResult placeZip(const ZipBackup& zip) {
    syncFileSystem(zip.archive);
    return place(zip.archive, zip.destination, zip.check, *zip.work);
}

QCoro::Task<void> removeWork(std::shared_ptr<WorkFolder> work) {
    const auto job = [work] { work->remove(); };
    co_await onWorker(job);
}

QCoro::Task<BackupResult> packAndPlace(ZipBackup zip) {
    co_await ZipArchive::pack(zip.folder, zip.archive);
    const auto job = [zip] { return placeZip(zip); };
    auto result = co_await onWorker(job);
    co_return result;
}

QCoro::Task<BackupResult> backUpToZip(QString dataDir, QString destination) {
    const auto staging = [dataDir, destination] { return prepareZip(dataDir, destination); };
    const ZipBackup zip = co_await onWorker(staging);
    BackupResult result;
    std::exception_ptr failure;
    try {
        result = co_await packAndPlace(zip);
    } catch (...) {
        failure = std::current_exception();
    }
    co_await removeWork(zip.staging);
    co_await removeWork(zip.work);
    if (failure) {
        std::rethrow_exception(failure);
    }
    co_return result;
}

std::optional<BackupResult> backUpAutomatically(const QString& dataDir, const QString& backupsDir,
                                                const QString& label) {
    recoverData(dataDir, backupsDir);
    if (!exists(dataDir)) {
        return std::nullopt;
    }
    if (isInside(backupsDir, dataDir)) {
        throw AppError(u"The Backups folder must not be inside the data folder."_s);
    }
    makeFolder(backupsDir);
    const QString destination = freeName(backupsDir + u'/' + label + u'-' + BackupManager::timestamp());
    return backUpToFolder(dataDir, destination);
}

QCoro::Task<void> unpackAndRestore(std::shared_ptr<WorkFolder> work, QString zip, QString dataDir, QString backupsDir,
                                   std::stop_token stop) {
    const QString folder = work->path(unpackedName);
    co_await ZipArchive::unpack(zip, folder, stop);
    const auto job = [work, folder, zip, dataDir, backupsDir, stop] {
        restoreFolder(findUnpackedData(folder), zip, dataDir, backupsDir, stop);
    };
    co_await onWorker(job);
}

QCoro::Task<DataVersion> unpackedVersion(std::shared_ptr<WorkFolder> work, QString zip) {
    const QString folder = work->path(unpackedName);
    co_await ZipArchive::unpackDatabase(zip, folder);
    const auto job = [folder] { return dataVersionOf(findUnpackedData(folder)); };
    const DataVersion version = co_await onWorker(job);
    co_return version;
}

/// Only the database is unpacked.
QCoro::Task<DataVersion> zipVersion(QString zip) {
    const auto making = [] {
        auto work = std::make_shared<WorkFolder>(QDir::tempPath(), WorkFolder::unpacking);
        makeFolder(work->path(unpackedName));
        return work;
    };
    const auto work = co_await onWorker(making);
    DataVersion version = DataVersion::unknown;
    try {
        version = co_await unpackedVersion(work, zip);
    } catch (const AppError&) {
        // The restore tells why the archive cannot be read.
        version = DataVersion::unknown;
    }
    co_await removeWork(work);
    co_return version;
}

QCoro::Task<void> restoreZip(QString zip, QString dataDir, QString backupsDir, std::stop_token stop) {
    const auto making = [zip, dataDir, backupsDir] {
        recoverData(dataDir, backupsDir);
        requireRestorePlaces(zip, dataDir, backupsDir);
        auto work = std::make_shared<WorkFolder>(QDir::tempPath(), WorkFolder::unpacking);
        makeFolder(work->path(unpackedName));
        return work;
    };
    const auto work = co_await onWorker(making);
    std::exception_ptr failure;
    try {
        co_await unpackAndRestore(work, zip, dataDir, backupsDir, stop);
    } catch (...) {
        failure = std::current_exception();
    }
    co_await removeWork(work);
    if (failure) {
        std::rethrow_exception(failure);
    }
}

void cleanUpPlaces(const QString& dataDir, const QString& backupsDir) {
    for (const QString& prefix : {WorkFolder::unpacking, WorkFolder::checking}) {
        WorkFolder::removeLeftovers(QDir::tempPath(), prefix);
    }
    cleanUp(backupsDir);
    try {
        cleanUp(parentOf(dataPlaceOf(dataDir)));
    } catch (const AppError&) {
        // Without a folder for the data folder, no run can have left anything there.
        return;
    }
}

} // namespace

QCoro::Task<BackupResult> BackupManager::backUp(QString dataDir, QString destination) {
    if (!exists(dataDir)) {
        throw AppError(u"There is no data folder yet. Start Uptime Kuma once first."_s);
    }
    if (isZip(destination)) {
        auto result = co_await backUpToZip(dataDir, destination);
        co_return result;
    }
    const auto job = [dataDir, destination] {
        requireNoKeptData(placeOf(destination), dataDir);
        return backUpToFolder(dataDir, destination);
    };
    auto result = co_await onWorker(job);
    co_return result;
}

QCoro::Task<std::optional<BackupResult>> BackupManager::autoBackup(QString dataDir, QString backupsDir, QString label) {
    const auto job = [dataDir, backupsDir, label] { return backUpAutomatically(dataDir, backupsDir, label); };
    auto result = co_await onWorker(job);
    co_return result;
}

QCoro::Task<void> BackupManager::restore(QString source, QString dataDir, QString backupsDir, std::stop_token stop) {
    if (isZip(source)) {
        co_await restoreZip(source, dataDir, backupsDir, stop);
        co_return;
    }
    const auto job = [source, dataDir, backupsDir, stop] {
        recoverData(dataDir, backupsDir);
        requireRestorePlaces(source, dataDir, backupsDir);
        restoreFolder(source, source, dataDir, backupsDir, stop);
    };
    co_await onWorker(job);
}

QCoro::Task<DataVersion> BackupManager::dataVersion(QString source) {
    try {
        if (isZip(source)) {
            const DataVersion packed = co_await zipVersion(source);
            co_return packed;
        }
        const auto job = [source] { return dataVersionOf(source); };
        const DataVersion version = co_await onWorker(job);
        co_return version;
    } catch (const AppError&) {
        co_return DataVersion::unknown;
    }
}

QCoro::Task<QString> BackupManager::fingerprint(QString folder) {
    const auto job = [folder] { return fingerprintOf(folder); };
    const QString hash = co_await onWorker(job);
    co_return hash;
}

/// Without the number of the device, which another start of the computer may change.
QString BackupManager::identity(const QString& path) {
    struct stat status {};
    const bool isThere = ::stat(QFile::encodeName(path).constData(), &status) == 0;
    return isThere ? QString::number(status.st_ino) : QString();
}

QString BackupManager::interruptedSentence() {
    return u"This backup was made while Uptime Kuma converted its data, and no server starts on it."_s;
}

void BackupManager::recover(const QString& dataDir, const QString& backupsDir) {
    recoverData(dataDir, backupsDir);
}

QCoro::Task<void> BackupManager::cleanUp(QString dataDir, QString backupsDir) {
    const auto job = [dataDir, backupsDir] { cleanUpPlaces(dataDir, backupsDir); };
    co_await onWorker(job);
}

bool BackupManager::looksLikeData(const QString& folder) {
    return statusOf(folder + u"/kuma.db"_s) || statusOf(folder + u"/db-config.json"_s);
}

QString BackupManager::timestamp() {
    return QLocale().toString(QDateTime::currentDateTime(), u"yyyy-MM-dd-HHmmss"_s);
}

} // namespace orvanel
