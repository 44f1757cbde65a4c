#include "backup/BackupManager.h"
#include "backup/Database.h"

#include "DataFolder.h"
#include "Interception.h"
#include "process/FileDescriptor.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/inotify.h>
#include <unistd.h>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

/// A server that writes to data/kuma.db as long as this object lives.
class Writer {
public:
    Writer(const DataFolder& folder, int megabytes) {
        QDir().mkpath(folder.data());
        m_process.start(QString::fromUtf8(BACKUP_TEST_WRITER), {folder.data(u"kuma.db"_s), QString::number(megabytes)});
        m_isReady =
            waitUntil([this] { return m_process.canReadLine() || m_process.state() == QProcess::NotRunning; }) &&
            m_process.readLine() == "ready\n";
    }
    ~Writer() { kill(); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    bool isAtWork() const { return m_isReady && m_process.state() == QProcess::Running; }
    void kill() {
        m_process.kill();
        m_process.waitForFinished(-1);
    }

private:
    QProcess m_process;
    bool m_isReady = false;
};

/// Opens the database as a server would, with everything that lies beside it.
QString integrityOf(const QString& path) {
    sqlite3* database = nullptr;
    ::sqlite3_open_v2(QFile::encodeName(path).constData(), &database, SQLITE_OPEN_READWRITE, nullptr);
    QString answer;
    const auto append = [](void* text, int, char** values, char**) {
        *static_cast<QString*>(text) += QString::fromUtf8(values[0]);
        return 0;
    };
    char* error = nullptr;
    if (::sqlite3_exec(database, "PRAGMA integrity_check; SELECT 'rows' WHERE (SELECT count(*) FROM beat) > 0", append,
                       &answer, &error) != SQLITE_OK) {
        answer += QString::fromUtf8(error);
        ::sqlite3_free(error);
    }
    ::sqlite3_close(database);
    return answer;
}

} // namespace

class TestDatabase : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { interception().beforeFile = {}; }

    void backupOfALiveDatabaseIsWholeOrReported_data() {
        QTest::addColumn<int>("megabytes");
        QTest::addColumn<int>("rounds");
        QTest::newRow("small") << 1 << 20;
        QTest::newRow("large") << 40 << 4;
    }

    void backupOfALiveDatabaseIsWholeOrReported() {
        QFETCH(const int, megabytes);
        QFETCH(const int, rounds);
        const DataFolder folder;
        const Writer writer(folder, megabytes);
        QVERIFY(writer.isAtWork());
        int reported = 0;
        for (int round = 0; round < rounds; ++round) {
            const QString copy = folder.path(u"copy"_s);
            const auto result = await(BackupManager::backUp(folder.data(), copy));
            const QString integrity = integrityOf(copy + u"/kuma.db"_s);
            QVERIFY2(integrity == u"okrows" || result.databaseProblem, qPrintable(integrity));
            reported += result.databaseProblem ? 1 : 0;
        }
        QVERIFY(writer.isAtWork());
        qInfo("%d of %d copies were torn, and reported", reported, rounds);
    }

    void zipOfALiveDatabaseIsWholeOrReported() {
        const DataFolder folder;
        const Writer writer(folder, 2);
        QVERIFY(writer.isAtWork());
        for (int round = 0; round < 3; ++round) {
            const auto result = await(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s)));
            QVERIFY(!runTool(u"unzip"_s,
                             {u"-q"_s, u"-o"_s, folder.path(u"copy.zip"_s), u"-d"_s, folder.path(u"unpacked"_s)})
                         .startsWith(u"failed"));
            const QString integrity = integrityOf(folder.path(u"unpacked/data/kuma.db"_s));
            QVERIFY2(integrity == u"okrows" || result.databaseProblem, qPrintable(integrity));
            QVERIFY(QDir(folder.path(u"unpacked"_s)).removeRecursively());
        }
        QVERIFY(writer.isAtWork());
    }

    void whatAKilledServerLeavesIsWhole() {
        const DataFolder folder;
        Writer writer(folder, 1);
        QVERIFY(writer.isAtWork());
        writer.kill();
        QVERIFY(QFileInfo(folder.data(u"kuma.db-wal"_s)).size() > 0);
        const auto before = describe(folder.data());
        const auto result = await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(result.databaseProblem, std::nullopt);
        // Opening the database or its copy would have merged the log into it, so neither was opened.
        QCOMPARE(difference(before, describe(folder.data())), QString());
        QCOMPARE(difference(before, describe(folder.path(u"copy"_s))), QString());
        QCOMPARE(integrityOf(folder.path(u"copy/kuma.db"_s)), u"okrows"_s);
    }

    void damageIsReportedAndTheBackupKept_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("folder") << u"copy"_s;
        QTest::newRow("zip") << u"copy.zip"_s;
        QTest::newRow("automatic") << QString();
    }

    void damageIsReportedAndTheBackupKept() {
        QFETCH(const QString, name);
        const DataFolder folder;
        {
            const Writer writer(folder, 1);
            QVERIFY(writer.isAtWork());
        }
        // This merges the log into the database; otherwise the log would hide the damage.
        QCOMPARE(integrityOf(folder.data(u"kuma.db"_s)), u"okrows"_s);
        QFile file(folder.data(u"kuma.db"_s));
        QVERIFY(file.open(QIODevice::ReadWrite) && file.seek(qint64{40} * 4096));
        QCOMPARE(file.write(QByteArray(qsizetype{8} * 4096, '\xee')), qint64{8} * 4096);
        file.close();
        const auto result = name.isEmpty()
                                ? await(BackupManager::autoBackup(folder.data(), folder.backups(), u"x"_s)).value()
                                : await(BackupManager::backUp(folder.data(), folder.path(name)));
        QVERIFY(result.databaseProblem);
        QVERIFY(!result.databaseProblem->isEmpty());
        QVERIFY(QFileInfo::exists(result.path));
    }

    void badBackupNeverReplacesAnEarlierOne_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::newRow("folder") << u"copy"_s << u"copy (check failed)"_s << u"copy (check failed) 2"_s;
        QTest::newRow("zip") << u"my.copy.zip"_s << u"my.copy (check failed).zip"_s
                             << u"my.copy (check failed) 2.zip"_s;
    }

    void badBackupNeverReplacesAnEarlierOne() {
        QFETCH(const QString, name);
        QFETCH(const QString, first);
        QFETCH(const QString, second);
        const DataFolder folder;
        folder.fill();
        const QString place = folder.path(name);
        QCOMPARE(await(BackupManager::backUp(folder.data(), place)).path, place);
        const auto earlier = describe(place);
        folder.write(u"Orvanel/data/kuma.db"_s, QByteArray("SQLite format 3\0", 16) + QByteArray(100'000, 'x'));
        for (const QString& beside : {folder.path(first), folder.path(second)}) {
            const auto result = await(BackupManager::backUp(folder.data(), place));
            QVERIFY(result.databaseProblem);
            QCOMPARE(result.path, beside);
            QVERIFY(QFileInfo::exists(beside));
        }
        QCOMPARE(difference(earlier, describe(place)), QString());
        QVERIFY(folder.names().filter(u".orvanel-"_s).isEmpty());
        // A good backup replaces it again.
        folder.write(u"Orvanel/data/kuma.db"_s, "no database of SQLite");
        QCOMPARE(await(BackupManager::backUp(folder.data(), place)).path, place);
        QVERIFY(!difference(earlier, describe(place)).isEmpty());
    }

    void linkedDatabaseIsInTheBackup_data() {
        QTest::addColumn<QString>("target");
        QTest::addColumn<bool>("staysALink");
        QTest::newRow("in the data") << u"databases/real.db"_s << true;
        QTest::newRow("in the data, by its whole path") << u"/databases/real.db"_s << false;
        QTest::newRow("outside") << u"../../elsewhere/real.db"_s << false;
    }

    /// The log must come along in both kinds of backup, because without it rows would be missing.
    void linkedDatabaseIsInTheBackup() {
        QFETCH(const QString, target);
        QFETCH(const bool, staysALink);
        const DataFolder folder;
        {
            Writer writer(folder, 1);
            QVERIFY(writer.isAtWork());
            writer.kill();
        }
        const QString link = target.startsWith(u'/') ? folder.data() + target : target;
        const QString real = QDir::cleanPath(QDir::isAbsolutePath(link) ? link : folder.data(link));
        QVERIFY(QDir().mkpath(QFileInfo(real).path()));
        QVERIFY(QFile::rename(folder.data(u"kuma.db"_s), real));
        QVERIFY(QFile::rename(folder.data(u"kuma.db-wal"_s), real + u"-wal"_s));
        QFile::remove(folder.data(u"kuma.db-shm"_s));
        QVERIFY(QFile::link(link, folder.data(u"kuma.db"_s)));
        // This log belongs to another database and would damage this one.
        folder.write(u"Orvanel/data/kuma.db-journal"_s, "not of this one");

        const auto result = await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(result.databaseProblem, std::nullopt);
        QCOMPARE(QFileInfo(folder.path(u"copy/kuma.db"_s)).isSymLink(), staysALink);
        QCOMPARE(QFileInfo::exists(folder.path(u"copy/kuma.db-journal"_s)), staysALink);
        const auto zip = await(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s)));
        QCOMPARE(zip.databaseProblem, std::nullopt);
        await(BackupManager::restore(folder.path(u"copy.zip"_s), folder.data(), folder.backups()));
        // The checks come last, because opening a database merges its log into it.
        const QString inCopy = staysALink ? u"copy/databases/real.db"_s : u"copy/kuma.db"_s;
        QVERIFY(QFileInfo(folder.path(inCopy + u"-wal"_s)).size() > 0);
        QCOMPARE(integrityOf(folder.path(u"copy/kuma.db"_s)), u"okrows"_s);
        QCOMPARE(integrityOf(folder.data(u"kuma.db"_s)), u"okrows"_s);
    }

    void damageBehindALinkIsReported() {
        const DataFolder folder;
        folder.write(u"Orvanel/data/inner/real.db"_s, QByteArray("SQLite format 3\0", 16) + QByteArray(100'000, 'x'));
        QVERIFY(QFile::link(u"inner/real.db"_s, folder.data(u"kuma.db"_s)));
        QVERIFY(await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s))).databaseProblem);
    }

    void databaseThatIsNotInTheBackupIsReported() {
        const DataFolder folder;
        folder.write(u"Orvanel/data/db-config.json"_s, "{}");
        QVERIFY(QFile::link(u"/app/data/real.db"_s, folder.data(u"kuma.db"_s)));
        const auto result = await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(result.databaseProblem, u"kuma.db is a broken link, so the backup does not contain the database."_s);
        QCOMPARE(difference(folder.data(), folder.path(u"copy"_s)), QString());
    }

    /// The database appears while its log, which keeps changing, is copied for the last time.
    void databaseThatComesTooLateIsReported() {
        const DataFolder folder;
        folder.write(u"Orvanel/data/kuma.db-wal"_s, "log");
        int copied = 0;
        interception().beforeFile = [&](const std::string& name) {
            if (name != "kuma.db-wal") {
                return;
            }
            ++copied;
            folder.write(u"Orvanel/data/kuma.db-wal"_s, QByteArray(copied * 100, 'x'));
            if (copied == 4) {
                folder.write(u"Orvanel/data/kuma.db"_s, "database");
            }
        };
        const auto result = await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(result.databaseProblem,
                 u"kuma.db was created during the backup, so the backup does not contain it."_s);
        QVERIFY(!QFileInfo::exists(folder.path(u"copy/kuma.db"_s)));
    }

    void linkedLogIsReported() {
        const DataFolder folder;
        folder.write(u"Orvanel/data/kuma.db"_s, "database");
        QVERIFY(QFile::link(u"elsewhere"_s, folder.data(u"kuma.db-wal"_s)));
        const auto result = await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(result.databaseProblem, u"kuma.db-wal is not a file, so the database was not checked."_s);
        QCOMPARE(difference(folder.data(), folder.path(u"copy"_s)), QString());
    }

    void onlyDatabasesAreChecked() {
        const DataFolder folder;
        for (const QByteArray& content : {QByteArray(), QByteArray("SQLite format 3"), QByteArray(100'000, 'x')}) {
            folder.write(u"data/kuma.db"_s, content);
            QCOMPARE(checkDatabase(folder.path(u"data"_s), folder.path(u"scratch"_s)), DatabaseCheck());
        }
        folder.write(u"data/kuma.db"_s, QByteArray("SQLite format 3\0", 16) + QByteArray(100'000, 'x'));
        QVERIFY(checkDatabase(folder.path(u"data"_s), folder.path(u"scratch"_s)).problem);
        QVERIFY(!QFileInfo::exists(folder.path(u"scratch"_s)));
    }

    /// Some network disks have neither locks nor shared memory.
    void checkNeedsNeitherLocksNorSharedMemory() {
        const DataFolder folder;
        {
            Writer writer(folder, 1);
            QVERIFY(writer.isAtWork());
            writer.kill();
        }
        const QString scratch = folder.path(u"scratch"_s);
        QVERIFY(QDir().mkdir(scratch));
        const FileDescriptor watch(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
        QVERIFY(::inotify_add_watch(watch.get(), QFile::encodeName(scratch).constData(), IN_CREATE) >= 0);
        FileDescriptor locked;
        interception().beforeFile = [&](const std::string& name) {
            if (name == "kuma.db-wal") {
                locked =
                    FileDescriptor(::open(QFile::encodeName(scratch + u"/kuma.db"_s).constData(), O_RDWR | O_CLOEXEC));
                struct flock whole {};
                whole.l_type = F_WRLCK;
                whole.l_whence = SEEK_SET;
                QCOMPARE(::fcntl(locked.get(), F_OFD_SETLK, &whole), 0);
            }
        };
        QCOMPARE(checkDatabase(folder.data(), scratch), DatabaseCheck());
        QVERIFY(locked.isOpen());
        QByteArray made(65536, '\0');
        made.truncate(::read(watch.get(), made.data(), static_cast<std::size_t>(made.size())));
        QVERIFY(made.contains("kuma.db-wal"));
        QVERIFY(!made.contains("kuma.db-shm"));
    }

    void changedFilesAreCopiedAgain_data() {
        QTest::addColumn<QString>("changing");
        QTest::addColumn<int>("changes");
        QTest::addColumn<int>("copies");
        QTest::newRow("at rest") << u"kuma.db"_s << 0 << 1;
        QTest::newRow("the log grew once") << u"kuma.db-wal"_s << 1 << 2;
        QTest::newRow("the database changed twice") << u"kuma.db"_s << 2 << 3;
        QTest::newRow("a journal came") << u"kuma.db-journal"_s << 1 << 2;
        QTest::newRow("never at rest") << u"kuma.db"_s << 100 << 4;
        QTest::newRow("another file changed") << u"error.log"_s << 100 << 1;
    }

    void changedFilesAreCopiedAgain() {
        QFETCH(const QString, changing);
        QFETCH(const int, changes);
        QFETCH(const int, copies);
        const DataFolder folder;
        folder.write(u"data/kuma.db"_s, "database");
        folder.write(u"data/kuma.db-wal"_s, "log");
        QDir().mkpath(folder.path(u"copy"_s));
        int copied = 0;
        interception().beforeFile = [&](const std::string& name) {
            if (name == "kuma.db" && ++copied <= changes) {
                const QString path = u"data/"_s + changing;
                folder.write(path, folder.read(path) + "x");
            }
        };
        copyDatabase(folder.path(u"data"_s), folder.path(u"copy"_s));
        QCOMPARE(copied, copies);
        interception().beforeFile = {};
        if (changes < 100) {
            QVERIFY(folder.read(u"copy/"_s + changing).endsWith(QByteArray(changes, 'x')));
        }
    }
};

ORVANEL_TEST(TestDatabase)
#include "TestDatabase.moc"
