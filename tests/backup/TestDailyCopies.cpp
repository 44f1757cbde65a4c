#include "DailyWorld.h"
#include "FileEdits.h"
#include "Message.h"
#include "support/TestClass.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <linux/fs.h>
#include <sqlite3.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

bool disksShareBlocks(const DataFolder& folder) {
    folder.write(u"first"_s, "content");
    folder.write(u"second"_s, "");
    QFile first(folder.path(u"first"_s));
    QFile second(folder.path(u"second"_s));
    return first.open(QIODevice::ReadOnly) && second.open(QIODevice::WriteOnly) &&
           ::ioctl(second.handle(), FICLONE, first.handle()) == 0;
}

void makeDatabase(const QString& path, int rows) {
    QFile::remove(path);
    sqlite3* database = nullptr;
    const QByteArray sql = "CREATE TABLE beats(id INTEGER PRIMARY KEY, text); WITH RECURSIVE n(i) AS (SELECT 1 UNION "
                           "ALL SELECT i + 1 FROM n WHERE i < " +
                           QByteArray::number(rows) + ") INSERT INTO beats SELECT i, hex(randomblob(50)) FROM n;";
    if (::sqlite3_open(QFile::encodeName(path).constData(), &database) != SQLITE_OK ||
        ::sqlite3_exec(database, sql.constData(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        qFatal("no database");
    }
    ::sqlite3_close(database);
}

} // namespace

class TestDailyCopies : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void copyIsPlainCheckedAndNamedAfterItsTime() {
        const DailyWorld world;
        world.folder.fill();
        makeDatabase(world.folder.data(u"kuma.db"_s), 100);
        const auto before = describe(world.folder.data());
        const auto result = world.make();
        QVERIFY(result);
        const QString path = world.folder.backups(u"daily-20260105-030000"_s);
        QCOMPARE(*result, (DailyBackupResult{.backup = {.path = path}}));
        QCOMPARE(difference(world.folder.data(), path), QString());
        QCOMPARE(difference(before, describe(world.folder.data())), QString());
        QCOMPARE(world.shown(), QStringList{u"daily-20260105-030000"_s});
        const DailyCopyStock stock = world.look();
        QCOMPARE(stock.copies.size(), 1);
        QVERIFY(stock.copies.first().isGood());
        QCOMPARE(stock.copies.first().made(), world.now);
        QVERIFY2(stock.bytes > 300'000 && stock.bytes < 600'000, qPrintable(QString::number(stock.bytes)));
        // Only a hidden mark lies beside it.
        QCOMPARE(world.folder.kept().size(), 2);
    }

    void withoutDataNothingIsMade() {
        const DailyWorld world;
        QCOMPARE(world.make(), std::nullopt);
        QVERIFY(!QFileInfo::exists(world.folder.backups()));
        QCOMPARE(world.look(), DailyCopyStock());
    }

    void badDatabaseIsToldInTheNameAndTheMark() {
        const DailyWorld world;
        world.folder.fill();
        damageDatabase(world.folder.data(u"kuma.db"_s));
        const auto result = world.make();
        QVERIFY(result && result->backup.databaseProblem);
        QCOMPARE(world.shown(), QStringList{u"daily-20260105-030000 (check failed)"_s});
        QVERIFY(world.look().copies.first().check == DailyCopy::Check::failed);
        QVERIFY(!world.look().copies.first().isGood());
    }

    void copiesOfOneSecondGetTimesOfTheirOwn() {
        const DailyWorld world;
        world.folder.fill();
        world.make();
        world.make();
        QCOMPARE(world.shown(), (QStringList{u"daily-20260105-030000"_s, u"daily-20260105-030001"_s}));
    }

    void unchangedFilesTakeNoRoomASecondTime() {
        DailyWorld world;
        world.folder.fill();
        makeDatabase(world.folder.data(u"kuma.db"_s), 10);
        world.folder.write(u"Orvanel/data/upload/changing"_s, "before");
        const QString first = world.make()->backup.path;
        world.folder.write(u"Orvanel/data/upload/changing"_s, "after!");
        const QString second = world.nextDay();
        QCOMPARE(difference(world.folder.data(), second), QString());
        QVERIFY(idOf(second + u"/kuma.db"_s) != idOf(first + u"/kuma.db"_s));
        QVERIFY(idOf(second + u"/upload/changing"_s) != idOf(first + u"/upload/changing"_s));
        QVERIFY(idOf(second + u"/upload/logo1.png"_s) != idOf(world.folder.data(u"upload/logo1.png"_s)));
        if (disksShareBlocks(world.folder)) {
            QVERIFY(idOf(second + u"/upload/logo1.png"_s) != idOf(first + u"/upload/logo1.png"_s));
            QVERIFY(world.look().isAtMost);
            return;
        }
        QCOMPARE(idOf(second + u"/upload/logo1.png"_s), idOf(first + u"/upload/logo1.png"_s));
        QVERIFY(world.look().bytes < 450'000);
        QVERIFY(!world.look().isAtMost);
    }

    void whatMayBeWrittenToOrDiffersIsNotShared_data() {
        QTest::addColumn<QString>("what");
        for (const char* const what : {"permissions", "date", "content", "attribute", "database", "log"}) {
            QTest::newRow(what) << QString::fromLatin1(what);
        }
    }

    /// The attribute is one that the earlier copy has got since.
    void whatMayBeWrittenToOrDiffersIsNotShared() {
        QFETCH(const QString, what);
        DailyWorld world;
        world.folder.fill();
        const QString name = what == u"log" ? u"upload/other.db-wal"_s : u"upload/file"_s;
        const QString file = world.folder.data(name);
        world.folder.write(u"Orvanel/data/"_s + name, QByteArray(1000, 'x'));
        if (what == u"database") {
            makeDatabase(file, 10);
        }
        const QString first = world.make()->backup.path + u'/' + name;
        const timespec date = dateOf(file);
        if (what == u"permissions") {
            QVERIFY(::chmod(QFile::encodeName(file).constData(), 0600) == 0);
        } else if (what == u"date") {
            setDate(file, {date.tv_sec + 1, date.tv_nsec});
        } else if (what == u"content") {
            writeInPlace(file, "y");
            setDate(file, date);
        } else if (what == u"attribute") {
            if (::setxattr(QFile::encodeName(first).constData(), "user.note", "n", 1, 0) != 0) {
                QSKIP("this disk keeps no attributes of files");
            }
        }
        const QString second = world.nextDay() + u'/' + name;
        QVERIFY(idOf(first) != idOf(second));
        QCOMPARE(difference(world.folder.data(), QFileInfo(world.folder.backups(world.shown().last())).filePath()),
                 QString());
        char value = 0;
        QVERIFY(::getxattr(QFile::encodeName(second).constData(), "user.note", &value, 1) < 0);
    }

    /// Or a restore would give the server one file where there were two.
    void filesThatWereOneAreTwoAgain() {
        DailyWorld world;
        world.folder.fill();
        world.folder.write(u"Orvanel/data/one"_s, QByteArray(1000, 'x'));
        const QByteArray one = QFile::encodeName(world.folder.data(u"one"_s));
        const QByteArray two = QFile::encodeName(world.folder.data(u"two"_s));
        QVERIFY(::link(one.constData(), two.constData()) == 0);
        const QString first = world.make()->backup.path;
        QCOMPARE(idOf(first + u"/one"_s), idOf(first + u"/two"_s));
        const timespec date = dateOf(world.folder.data(u"one"_s));
        QVERIFY(::unlink(two.constData()) == 0);
        world.folder.write(u"Orvanel/data/two"_s, QByteArray(1000, 'x'));
        setDate(world.folder.data(u"two"_s), date);
        const QString second = world.nextDay();
        QVERIFY(idOf(second + u"/one"_s) != idOf(second + u"/two"_s));
    }

    void whatOthersKeepThereStays() {
        DailyWorld world;
        world.folder.fill();
        const QString root = u"Orvanel/Backups/"_s;
        world.folder.write(root + u"daily-20200101-000000/kuma.db"_s, "of somebody else");
        world.folder.write(root + u"daily-20200102-000000"_s, "a file");
        world.folder.write(root + u"daily-20200103-000000 (check failed)/photo"_s, "of somebody else");
        world.folder.write(root + u".orvanel-daily-20200101-000000"_s, "no mark");
        world.folder.write(root + u".orvanel-daily-notes"_s, "no mark");
        world.folder.write(root + u"Holiday/photo"_s, "photo");
        for (int i = 0; i < 300; ++i) {
            world.folder.write(root + u"many/%1"_s.arg(i), "file");
        }
        QVERIFY(QFile::link(world.folder.data(), world.folder.backups(u"daily-20200104-000000"_s)));
        // A mark leads to a folder, not to a link to one.
        const QString own = world.make()->backup.path;
        QVERIFY(QDir(own).removeRecursively());
        QVERIFY(QFile::link(world.folder.data(), own));
        const auto before = describe(world.folder.backups());
        const auto data = describe(world.folder.data());
        for (int day = 0; day < 40; ++day) {
            world.nextDay();
            world.prune();
        }
        auto after = describe(world.folder.backups());
        for (auto entry = before.begin(); entry != before.end(); ++entry) {
            if (entry.key() != u"."_s) {
                QCOMPARE(after.value(entry.key()), entry.value());
            }
        }
        QCOMPARE(difference(data, describe(world.folder.data())), QString());
        QCOMPARE(world.look().copies.size(), 11);
    }

    void backupsThatCannotBeWrittenAreTold() {
        const DailyWorld world;
        world.folder.fill();
        world.folder.write(u"Orvanel/Backups"_s, "a file in its place");
        const QString message = messageOf(DailyCopies::make(world.folder.data(), world.folder.backups(), world.now));
        QVERIFY2(message.startsWith(world.folder.backups() + u": "_s), qPrintable(message));
        QCOMPARE(world.folder.read(u"Orvanel/Backups"_s), QByteArray("a file in its place"));
        QCOMPARE(world.look(), DailyCopyStock());
    }

    void backupsOnAnotherDiskAreSharedThere() {
        if (!QFileInfo(u"/dev/shm"_s).isWritable()) {
            QSKIP("there is no other disk to write to: /dev/shm");
        }
        const QTemporaryDir other(u"/dev/shm/orvanel-XXXXXX"_s);
        DailyWorld world;
        world.folder.fill();
        QVERIFY(QFile::link(other.path(), world.folder.backups()));
        const QString first = world.make()->backup.path;
        const QString second = world.nextDay();
        QCOMPARE(difference(world.folder.data(), second), QString());
        QVERIFY(idOf(first).device != idOf(world.folder.data()).device || disksShareBlocks(world.folder));
        QCOMPARE(idOf(first + u"/upload/logo1.png"_s), idOf(second + u"/upload/logo1.png"_s));
        QCOMPARE(world.look().copies.size(), 2);
        // Whoever copies the copies elsewhere owns what he has got.
        QVERIFY(runTool(u"cp"_s, {u"-a"_s, first, other.path() + u"/daily-20300101-000000"_s}).isEmpty());
        for (int day = 0; day < 40; ++day) {
            world.nextDay();
            world.prune();
        }
        QVERIFY(QFileInfo::exists(other.path() + u"/daily-20300101-000000/kuma.db"_s));
    }

    void backUpNowNeverTakesTheirPlace() {
        const DailyWorld world;
        world.folder.fill();
        const QString path = world.make()->backup.path;
        const auto before = describe(world.folder.backups());
        const QString sentence = u"That folder contains daily backups. Choose another place."_s;
        for (const QString& place :
             {path, world.folder.backups(), path + u"/upload"_s, world.folder.backups(u"daily-20270101-000000"_s)}) {
            QCOMPARE(messageOf(BackupManager::backUp(world.folder.data(), place)), sentence);
        }
        QCOMPARE(difference(before, describe(world.folder.backups())), QString());
    }

    void clockThatIsSetBackTakesNoCopyAway() {
        DailyWorld world;
        world.folder.fill();
        world.now = QDateTime(QDate(2030, 6, 1), QTime(3, 0));
        for (int day = 0; day < 20; ++day) {
            world.nextDay();
            world.prune();
        }
        world.now = QDateTime(QDate(2026, 1, 5), QTime(3, 0));
        for (int day = 0; day < 6; ++day) {
            world.nextDay();
            world.prune();
            QCOMPARE(world.shown().filter(u"daily-2026"_s).size(), day + 1);
        }
        QCOMPARE(world.look().copies.last().made(), world.now);
    }
};

ORVANEL_TEST(TestDailyCopies)
#include "TestDailyCopies.moc"
