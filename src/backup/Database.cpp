#include "backup/Database.h"

#include "backup/CopyTree.h"
#include "backup/DiskRoom.h"
#include "backup/FormatsModule.h"
#include "backup/RemoveTree.h"
#include "backup/WorkFolder.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

struct FileState {
    FileId id;
    off_t size = -1;
    timespec changed{};

    bool operator==(const FileState& other) const {
        return id == other.id && size == other.size && changed.tv_sec == other.changed.tv_sec &&
               changed.tv_nsec == other.changed.tv_nsec;
    }
};

FileState stateOf(const QString& path) {
    const auto status = statusOf(path);
    return status ? FileState{FileId(*status), status->st_size, status->st_mtim} : FileState{};
}

bool isFile(const QString& path) {
    const auto status = statusOf(path);
    return status && S_ISREG(status->st_mode);
}

/// The paths of one of the database's files, in the source and in the copy.
struct FilePair {
    std::string name;
    QString source;
    QString target;
};

std::vector<FileState> statesOf(const std::vector<FilePair>& files) {
    std::vector<FileState> states;
    states.reserve(files.size());
    for (const FilePair& file : files) {
        states.push_back(stateOf(file.source));
    }
    return states;
}

/// Removes what an earlier attempt copied. Returns the names of the files that exist now.
std::vector<std::string> clear(const std::vector<FilePair>& files) {
    std::vector<std::string> names;
    for (const FilePair& file : files) {
        const bool isThere = isFile(file.source);
        if (isThere || (!statusOf(file.source) && isFile(file.target))) {
            removeTree(file.target);
        }
        if (isThere) {
            names.push_back(file.name);
        }
    }
    return names;
}

bool hasDatabaseHeader(const QString& path) {
    QFile file(path);
    if (!isFolder(path) && file.open(QIODevice::ReadOnly)) {
        return file.read(16) == QByteArray("SQLite format 3\0", 16);
    }
    return false;
}

/// Throws when the check cannot be made.
std::optional<QString> checkIn(const QString& scratch, const QString& folder, const QString& name) {
    QDir().mkdir(scratch);
    copyFiles(folder, scratch, databaseFiles(name));
    const DatabaseCheck check = fileFormats().checkDatabase(scratch + u'/' + name);
    if (check.notMade) {
        throw AppError(*check.notMade);
    }
    return check.problem;
}

qint64 bytesOf(const QString& folder, const QString& name) {
    qint64 sum = 0;
    for (const std::string& file : databaseFiles(name)) {
        const auto status = statusOf(folder + u'/' + QFile::decodeName(file.c_str()));
        sum += status ? status->st_size : 0;
    }
    return sum;
}

/// Used when the check could not be made beside the backup, for example on a full disk. `reason` tells why.
DatabaseCheck checkInTemporaryFolder(const QString& folder, const QString& name, const AppError& reason) {
    try {
        const QString parent = QDir::tempPath();
        requireRoom(parent, bytesOf(folder, name));
        const WorkFolder work(parent, WorkFolder::checking);
        return {.problem = checkIn(work.path(u"scratch"_s), folder, name)};
    } catch (const AppError&) {
        return {.notMade = reason.message()};
    }
}

} // namespace

std::vector<std::string> databaseFiles(const QString& name) {
    const std::string text = QFile::encodeName(name).toStdString();
    return {text, text + "-wal", text + "-journal"};
}

void copyDatabase(const QString& source, const QString& target, const QString& name) {
    std::vector<FilePair> files;
    for (const std::string& file : databaseFiles(name)) {
        const QString relative = u'/' + QFile::decodeName(file.c_str());
        files.push_back({file, source + relative, target + relative});
    }
    constexpr int attempts = 4;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const auto before = statesOf(files);
        copyFiles(source, target, clear(files));
        if (statesOf(files) == before) {
            return;
        }
    }
}

DatabaseCheck checkDatabase(const QString& folder, const QString& scratch, const QString& name) {
    if (!hasDatabaseHeader(folder + u'/' + name)) {
        return {};
    }
    DatabaseCheck check;
    try {
        check.problem = checkIn(scratch, folder, name);
    } catch (const AppError& error) {
        removeTree(scratch);
        check = checkInTemporaryFolder(folder, name, error);
    }
    removeTree(scratch);
    return check;
}

} // namespace orvanel
