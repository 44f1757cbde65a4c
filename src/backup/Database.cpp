#include "backup/Database.h"

#include "backup/CopyTree.h"
#include "backup/DiskRoom.h"
#include "backup/RemoveTree.h"
#include "backup/WorkFolder.h"

#include <QDir>
#include <QFile>

#include <memory>
#include <sqlite3.h>
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

struct CloseDatabase {
    void operator()(sqlite3* database) const { ::sqlite3_close_v2(database); }
};
struct EndStatement {
    void operator()(sqlite3_stmt* statement) const { ::sqlite3_finalize(statement); }
};

/// Whether the check failed for want of space, memory or permission.
bool isNoFaultOfTheDatabase(int code) {
    constexpr int primary = 0xFF;
    switch (code & primary) {
    case SQLITE_PERM:
    case SQLITE_NOMEM:
    case SQLITE_READONLY:
    case SQLITE_IOERR:
    case SQLITE_FULL:
    case SQLITE_CANTOPEN:
        return true;
    default:
        return false;
    }
}

/// Checks the indexes as well as the pages: in a torn copy, every page may be whole and yet the pages may not fit
/// together.
///
/// No other process uses the copy, so it is opened without locks and without shared memory. Some network and FUSE file
/// systems support neither, and a good backup must not fail the check for that reason.
std::optional<QString> checkOpenedFile(const QString& path) {
    sqlite3* opened = nullptr;
    const int result = ::sqlite3_open_v2(path.toUtf8().constData(), &opened, SQLITE_OPEN_READWRITE, "unix-none");
    const std::unique_ptr<sqlite3, CloseDatabase> database(opened);
    const auto complaint = [&] {
        QString text = QString::fromUtf8(::sqlite3_errmsg(database.get()));
        if (isNoFaultOfTheDatabase(::sqlite3_errcode(database.get()))) {
            throw AppError(text);
        }
        return text;
    };
    const char* const alone = "PRAGMA locking_mode=EXCLUSIVE";
    if (result != SQLITE_OK || ::sqlite3_exec(opened, alone, nullptr, nullptr, nullptr) != SQLITE_OK) {
        return complaint();
    }
    sqlite3_stmt* prepared = nullptr;
    const char* const question = "PRAGMA integrity_check(20)";
    const bool isPrepared = ::sqlite3_prepare_v2(database.get(), question, -1, &prepared, nullptr) == SQLITE_OK;
    const std::unique_ptr<sqlite3_stmt, EndStatement> statement(prepared);
    if (!isPrepared) {
        return complaint();
    }
    QStringList lines;
    int step = ::sqlite3_step(statement.get());
    while (step == SQLITE_ROW) {
        lines << QString::fromUtf8(reinterpret_cast<const char*>(::sqlite3_column_text(statement.get(), 0)));
        step = ::sqlite3_step(statement.get());
    }
    if (step != SQLITE_DONE) {
        lines << complaint();
    }
    if (lines == QStringList{u"ok"_s}) {
        return std::nullopt;
    }
    return lines.join(u'\n');
}

/// Throws when the check cannot be made.
std::optional<QString> checkIn(const QString& scratch, const QString& folder, const QString& name) {
    QDir().mkdir(scratch);
    copyFiles(folder, scratch, databaseFiles(name));
    return checkOpenedFile(scratch + u'/' + name);
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
