#include "backup/DataVersion.h"

#include "backup/FileSystem.h"

#include <QFile>
#include <QUrl>

#include <memory>
#include <optional>
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

bool isFile(const QString& path) {
    const auto status = statusOf(path);
    return status && S_ISREG(status->st_mode);
}

/// Opened so that nothing is written: without a log beside it, the file is taken for one that nobody changes; with one,
/// its index is kept in memory, and the log stays when the database is closed.
Database opened(const QString& path) {
    const bool hasLog = isFile(path + u"-wal"_s);
    const QByteArray address =
        QUrl::fromLocalFile(path).toEncoded(QUrl::FullyEncoded) + (hasLog ? "?mode=ro" : "?immutable=1");
    sqlite3* handle = nullptr;
    const int result =
        ::sqlite3_open_v2(address.constData(), &handle, SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, "unix-none");
    Database database(handle);
    if (result != SQLITE_OK) {
        return nullptr;
    }
    ::sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    ::sqlite3_exec(handle, "PRAGMA locking_mode=EXCLUSIVE", nullptr, nullptr, nullptr);
    return database;
}

/// The first column of the first row, empty without a row; none when the question cannot be asked.
std::optional<QByteArray> ask(sqlite3* database, const char* question) {
    sqlite3_stmt* prepared = nullptr;
    const bool isPrepared = ::sqlite3_prepare_v2(database, question, -1, &prepared, nullptr) == SQLITE_OK;
    const std::unique_ptr<sqlite3_stmt, EndStatement> statement(prepared);
    if (!isPrepared) {
        return std::nullopt;
    }
    const int step = ::sqlite3_step(statement.get());
    if (step == SQLITE_DONE) {
        return QByteArray();
    }
    if (step != SQLITE_ROW) {
        return std::nullopt;
    }
    return QByteArray(reinterpret_cast<const char*>(::sqlite3_column_text(statement.get(), 0)));
}

} // namespace

DataVersion dataVersionOf(const QString& folder) {
    const QString path = folder + u"/kuma.db"_s;
    // A link leads to what a restore would copy as a link.
    const Database database = isFile(path) ? opened(path) : nullptr;
    if (!database) {
        return DataVersion::unknown;
    }
    const auto state =
        ask(database.get(), "SELECT value FROM setting WHERE key = 'migrateAggregateTableState' LIMIT 1");
    if (!state) {
        return DataVersion::unknown;
    }
    // The server keeps its settings as JSON.
    if (state->contains("migrating")) {
        return DataVersion::converting;
    }
    return state->contains("migrated") ? DataVersion::converted : DataVersion::old;
}

} // namespace orvanel
