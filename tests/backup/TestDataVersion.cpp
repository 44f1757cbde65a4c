#include "backup/BackupManager.h"

#include "DataFolder.h"
#include "process/AppError.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <sqlite3.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

/// Makes a database as the server has it. With `keepsLog` it is left as by a server that was killed: all of it is in
/// the log beside it.
void makeDatabase(const QString& folder, const QByteArray& statements, bool keepsLog = false) {
    QDir().mkpath(folder);
    sqlite3* database = nullptr;
    QVERIFY(::sqlite3_open(QFile::encodeName(folder + u"/kuma.db"_s).constData(), &database) == SQLITE_OK);
    ::sqlite3_db_config(database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, keepsLog ? 1 : 0, nullptr);
    const QByteArray all = "PRAGMA journal_mode=" + QByteArray(keepsLog ? "WAL" : "DELETE") + ";" + statements;
    QCOMPARE(::sqlite3_exec(database, all.constData(), nullptr, nullptr, nullptr), SQLITE_OK);
    ::sqlite3_close(database);
    QCOMPARE(QFile::exists(folder + u"/kuma.db-wal"_s), keepsLog);
}

QByteArray withState(const QByteArray& value) {
    return "CREATE TABLE setting (id INTEGER, key TEXT, value TEXT);"
           "INSERT INTO setting VALUES (1, 'jwtSecret', '\"x\"');"
           "INSERT INTO setting VALUES (2, 'migrateAggregateTableState', '" +
           value + "');";
}

const QByteArray withoutState = "CREATE TABLE setting (id INTEGER, key TEXT, value TEXT);";

} // namespace

/// What a backup tells of the conversion of its data.
class TestDataVersion : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void isReadFromTheDatabase_data() {
        QTest::addColumn<QByteArray>("statements");
        QTest::addColumn<DataVersion>("version");
        QTest::newRow("1.x") << withoutState << DataVersion::old;
        QTest::newRow("in between") << withState("\"migrating\"") << DataVersion::converting;
        QTest::newRow("in between, not as JSON") << withState("migrating") << DataVersion::converting;
        QTest::newRow("2.x") << withState("\"migrated\"") << DataVersion::converted;
        QTest::newRow("strange value") << withState("7") << DataVersion::old;
        QTest::newRow("another database") << QByteArray("CREATE TABLE t (x);") << DataVersion::unknown;
    }
    void isReadFromTheDatabase() {
        QFETCH(const QByteArray, statements);
        QFETCH(const DataVersion, version);
        for (const bool keepsLog : {false, true}) {
            const DataFolder folder;
            makeDatabase(folder.path(u"backup/data"_s), statements, keepsLog);
            const auto before = describe(folder.path(u"backup"_s));
            QVERIFY(await(BackupManager::dataVersion(folder.path(u"backup/data"_s))) == version);
            QCOMPARE(difference(before, describe(folder.path(u"backup"_s))), QString());
            for (const QString& entry : {u"data"_s, u"."_s}) {
                const QString zip = folder.path(u"copy.zip"_s);
                QFile::remove(zip);
                const QString from = folder.path(entry == u"data" ? u"backup"_s : u"backup/data"_s);
                QCOMPARE(runTool(u"bsdtar"_s, {u"-c"_s, u"--format"_s, u"zip"_s, u"-f"_s, zip, u"-C"_s, from, entry}),
                         QString());
                QVERIFY(await(BackupManager::dataVersion(zip)) == version);
            }
        }
    }

    void whatIsNoDatabaseIsUnknown() {
        const DataFolder folder;
        QVERIFY(await(BackupManager::dataVersion(folder.path(u"nothing"_s))) == DataVersion::unknown);
        QVERIFY(await(BackupManager::dataVersion(folder.path(u"nothing.zip"_s))) == DataVersion::unknown);
        folder.write(u"data/kuma.db"_s, "no database at all");
        folder.write(u"bad.zip"_s, "PK no zip");
        QVERIFY(await(BackupManager::dataVersion(folder.path(u"data"_s))) == DataVersion::unknown);
        QVERIFY(await(BackupManager::dataVersion(folder.path(u"bad.zip"_s))) == DataVersion::unknown);
        QDir().mkpath(folder.path(u"folder/kuma.db"_s));
        QVERIFY(await(BackupManager::dataVersion(folder.path(u"folder"_s))) == DataVersion::unknown);
    }

    void unreadableDatabaseIsUnknown() {
        const DataFolder folder;
        makeDatabase(folder.path(u"data"_s), withState("\"migrating\""));
        QFile file(folder.path(u"data/kuma.db"_s));
        QVERIFY(file.resize(file.size() / 2));
        QVERIFY(await(BackupManager::dataVersion(folder.path(u"data"_s))) != DataVersion::converted);
    }

    void backupOfAConversionIsNotRestored() {
        const DataFolder folder;
        folder.fill();
        makeDatabase(folder.path(u"backup/data"_s), withState("\"migrating\""), true);
        const QString zip = folder.path(u"copy.zip"_s);
        QCOMPARE(runTool(u"bsdtar"_s, {u"-c"_s, u"--format"_s, u"zip"_s, u"-f"_s, zip, u"-C"_s,
                                       folder.path(u"backup"_s), u"data"_s}),
                 QString());
        const auto data = describe(folder.data());
        for (const QString& source : {folder.path(u"backup/data"_s), zip}) {
            QVERIFY_THROWS_EXCEPTION(AppError, await(BackupManager::restore(source, folder.data(), folder.backups())));
            QCOMPARE(difference(data, describe(folder.data())), QString());
            QCOMPARE(folder.kept(), QStringList());
        }
    }
};

ORVANEL_TEST(TestDataVersion)
#include "TestDataVersion.moc"
