#include "formats/DatabaseFile.h"

#include <QFileInfo>
#include <QUrl>

#include <memory>
#include <sqlite3.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

struct CloseDatabase {
    void operator()(sqlite3* database) const { ::sqlite3_close_v2(database); }
};
struct EndStatement {
    void operator()(sqlite3_stmt* statement) const { ::sqlite3_finalize(statement); }
};
using Database = std::unique_ptr<sqlite3, CloseDatabase>;
using Statement = std::unique_ptr<sqlite3_stmt, EndStatement>;

// No other process uses the file, so it is opened without locks and without shared memory. Some network and FUSE file
// systems support neither, and a good backup must not fail the check for that reason.
constexpr const char* withoutLocks = "unix-none";
constexpr const char* alone = "PRAGMA locking_mode=EXCLUSIVE";

/// None if SQLite does not understand the question.
Statement prepare(sqlite3* database, const char* question) {
    sqlite3_stmt* prepared = nullptr;
    const bool isPrepared = ::sqlite3_prepare_v2(database, question, -1, &prepared, nullptr) == SQLITE_OK;
    Statement statement(prepared);
    return isPrepared ? std::move(statement) : nullptr;
}

QByteArray firstColumn(sqlite3_stmt* statement) {
    return reinterpret_cast<const char*>(::sqlite3_column_text(statement, 0));
}

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

/// What SQLite said last, after the lines that it found before.
DatabaseCheck complaint(sqlite3* database, QStringList lines = {}) {
    const QString text = QString::fromUtf8(::sqlite3_errmsg(database));
    if (isNoFaultOfTheDatabase(::sqlite3_errcode(database))) {
        return {.notMade = text};
    }
    lines << text;
    return {.problem = lines.join(u'\n')};
}

/// Opened so that nothing is written: without a log beside it, the file is taken for one that nobody changes; with one,
/// its index is kept in memory, and the log stays when the database is closed.
Database openedForReading(const QString& path) {
    const QFileInfo log(path + u"-wal"_s);
    const bool hasLog = log.isFile() && !log.isSymLink();
    const QByteArray address =
        QUrl::fromLocalFile(path).toEncoded(QUrl::FullyEncoded) + (hasLog ? "?mode=ro" : "?immutable=1");
    sqlite3* handle = nullptr;
    const int result =
        ::sqlite3_open_v2(address.constData(), &handle, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, withoutLocks);
    Database database(handle);
    if (result != SQLITE_OK) {
        return nullptr;
    }
    ::sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    ::sqlite3_exec(handle, alone, nullptr, nullptr, nullptr);
    return database;
}

} // namespace

DatabaseCheck checkDatabaseFile(const QString& path) {
    sqlite3* opened = nullptr;
    const int result = ::sqlite3_open_v2(path.toUtf8().constData(), &opened, SQLITE_OPEN_READWRITE, withoutLocks);
    const Database database(opened);
    if (result != SQLITE_OK || ::sqlite3_exec(opened, alone, nullptr, nullptr, nullptr) != SQLITE_OK) {
        return complaint(opened);
    }
    const Statement statement = prepare(opened, "PRAGMA integrity_check(20)");
    if (!statement) {
        return complaint(opened);
    }
    QStringList lines;
    int step = ::sqlite3_step(statement.get());
    while (step == SQLITE_ROW) {
        lines << QString::fromUtf8(firstColumn(statement.get()));
        step = ::sqlite3_step(statement.get());
    }
    if (step != SQLITE_DONE) {
        return complaint(opened, lines);
    }
    return lines == QStringList{u"ok"_s} ? DatabaseCheck() : DatabaseCheck{.problem = lines.join(u'\n')};
}

std::optional<QByteArray> readSetting(const QString& path, const QByteArray& key) {
    const Database database = openedForReading(path);
    const Statement statement =
        database ? prepare(database.get(), "SELECT value FROM setting WHERE key = ? LIMIT 1") : nullptr;
    if (!statement || ::sqlite3_bind_text(statement.get(), 1, key.constData(), static_cast<int>(key.size()),
                                          SQLITE_STATIC) != SQLITE_OK) {
        return std::nullopt;
    }
    const int step = ::sqlite3_step(statement.get());
    if (step == SQLITE_DONE) {
        return QByteArray();
    }
    return step == SQLITE_ROW ? std::optional(firstColumn(statement.get())) : std::nullopt;
}

} // namespace orvanel
