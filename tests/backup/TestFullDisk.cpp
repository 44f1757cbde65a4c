#include "backup/BackupManager.h"
#include "backup/DiskRoom.h"
#include "backup/ZipArchive.h"
#include "support/TestClass.h"

#include "DailyWorld.h"
#include "Interception.h"
#include "Message.h"
#include "SmallDisk.h"

#include <QDir>
#include <QtEndian>

#include <cerrno>
#include <limits>
#include <unistd.h>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

QString whyNoMounts;

} // namespace

class TestFullDisk : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        if (!whyNoMounts.isEmpty()) {
            QSKIP(qPrintable(u"This process may not mount a small disk: "_s + whyNoMounts));
        }
    }

    void cleanup() {
        qunsetenv("TMPDIR");
        interception().isWithoutLinks = {};
        interception().writeFailure = {};
    }

    void fullDiskLeavesTheOldBackup_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("bytes");
        QTest::addColumn<QString>("sentence");
        QTest::newRow("folder") << u"disk/copy"_s << 5'000'000 << u"No space left on device"_s;
        QTest::newRow("zip") << u"disk/copy.zip"_s << 5'000'000 << u"Could not create the zip file. "_s;
    }

    void fullDiskLeavesTheOldBackup() {
        QFETCH(const QString, name);
        QFETCH(const int, bytes);
        QFETCH(const QString, sentence);
        const DataFolder folder;
        const SmallDisk disk(folder, "size=4m");
        folder.fill();
        folder.write(u"Orvanel/data/upload/large"_s, noise(bytes));
        folder.write(name, "the old backup");
        const QString message = messageOf(BackupManager::backUp(folder.data(), folder.path(name)));
        QVERIFY2(message.contains(sentence), qPrintable(message));
        QCOMPARE(folder.read(name), QByteArray("the old backup"));
        QCOMPARE(folder.names(u"disk"_s).size(), 1);
    }

    void zipNeedsNoRoomForTheCopyBesideIt_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("the copy is larger than the disk") << QByteArray(5'000'000, 'x');
        QTest::newRow("the copy and the archive are") << noise(3'000'000);
    }

    void zipNeedsNoRoomForTheCopyBesideIt() {
        QFETCH(const QByteArray, content);
        const DataFolder folder;
        const SmallDisk disk(folder, "size=4m");
        folder.write(u"Orvanel/data/kuma.db"_s, content);
        QCOMPARE(messageOf(BackupManager::backUp(folder.data(), folder.path(u"disk/copy.zip"_s))), u"none"_s);
        QCOMPARE(folder.names(u"disk"_s), QStringList{u"copy.zip"_s});
        QCOMPARE(folder.names(u"Orvanel"_s), QStringList{u"data"_s});
    }

    void diskOfTheDataIsSparedTheCopyForAZip_data() {
        QTest::addColumn<bool>("hasLink");
        QTest::newRow("the other disk can hold the data") << false;
        QTest::newRow("the other disk cannot hold a link in it") << true;
    }

    void diskOfTheDataIsSparedTheCopyForAZip() {
        QFETCH(const bool, hasLink);
        const DataFolder folder;
        const SmallDisk disk(folder, "size=4m", u"Orvanel"_s);
        folder.write(u"Orvanel/data/kuma.db"_s, noise(3'000'000));
        if (hasLink) {
            QVERIFY(QFile::link(u"kuma.db"_s, folder.data(u"link"_s)));
        }
        QDir().mkpath(folder.path(u"stick"_s));
        interception().isWithoutLinks = [stick = folder.path(u"stick"_s).toStdString()](const std::string& at) {
            return at.starts_with(stick);
        };
        const QString message = messageOf(BackupManager::backUp(folder.data(), folder.path(u"stick/copy.zip"_s)));
        const QString sentence = hasLink ? u"There is not enough space on the disk: "_s : u"none"_s;
        QVERIFY2(message.startsWith(sentence), qPrintable(message));
        QCOMPARE(folder.names(u"stick"_s), hasLink ? QStringList() : QStringList{u"copy.zip"_s});
        QCOMPARE(folder.names(u"Orvanel"_s), QStringList{u"data"_s});
    }

    void databaseThatFillsTheDiskIsCheckedElsewhere_data() {
        QTest::addColumn<bool>("isElsewhereFull");
        QTest::newRow("elsewhere there is room") << false;
        QTest::newRow("nor is there any elsewhere") << true;
    }

    void databaseThatFillsTheDiskIsCheckedElsewhere() {
        QFETCH(const bool, isElsewhereFull);
        const DataFolder folder;
        const SmallDisk disk(folder, "size=4m");
        const SmallDisk elsewhere(folder, isElsewhereFull ? "size=2m" : "size=8m", u"elsewhere"_s);
        folder.write(u"Orvanel/data/kuma.db"_s, QByteArray("SQLite format 3\0", 16) + noise(3'000'000));
        qputenv("TMPDIR", QFile::encodeName(folder.path(u"elsewhere"_s)));
        const auto result = await(BackupManager::backUp(folder.data(), folder.path(u"disk/copy"_s)));
        QCOMPARE(result.databaseProblem.has_value(), !isElsewhereFull);
        QCOMPARE(result.databaseNotChecked.has_value(), isElsewhereFull);
        if (isElsewhereFull) {
            QVERIFY2(result.databaseNotChecked->startsWith(folder.path(u"disk/"_s)),
                     qPrintable(*result.databaseNotChecked));
        }
        QCOMPARE(difference(folder.data(), folder.path(u"disk/copy"_s)), QString());
        QCOMPARE(folder.names(u"elsewhere"_s), QStringList());
    }

    void restoreLooksForRoomFirst() {
        const DataFolder folder;
        const SmallDisk disk(folder, "size=4m", u"Orvanel"_s);
        folder.fill();
        folder.write(u"copy/kuma.db"_s, noise(5'000'000));
        const auto before = describe(folder.data());
        const QString message =
            messageOf(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups()));
        QVERIFY2(message.startsWith(u"There is not enough space on the disk: "), qPrintable(message));
        QCOMPARE(difference(before, describe(folder.data())), QString());
        QCOMPARE(folder.kept(), QStringList());
    }

    /// Without the note, a crash in the middle of the restore could not be undone.
    void noteOfARestoreWithoutRoomEndsIt() {
        const DataFolder folder;
        folder.fill();
        folder.write(u"copy/kuma.db"_s, "the backup");
        const auto before = describe(folder.data());
        bool isNoted = false;
        interception().writeFailure = [&isNoted](const std::string& path) {
            const bool isNote = path.ends_with("/restoring");
            isNoted = isNoted || isNote;
            return isNote ? ENOSPC : 0;
        };
        const QString message =
            messageOf(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups()));
        QVERIFY(isNoted);
        QVERIFY2(message.endsWith(u": No space left on device"_s), qPrintable(message));
        QCOMPARE(difference(before, describe(folder.data())), QString());
        QCOMPARE(folder.kept(), QStringList());
    }

    void fileOfManyNamesNeedsItsRoomOnce() {
        const DataFolder folder;
        const SmallDisk disk(folder, "size=4m", u"Orvanel"_s);
        folder.write(u"copy/kuma.db"_s, noise(3'000'000));
        const QByteArray first = QFile::encodeName(folder.path(u"copy/kuma.db"_s));
        QCOMPARE(::link(first.constData(), (first + ".second").constData()), 0);
        QCOMPARE(messageOf(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups())), u"none"_s);
        QCOMPARE(difference(folder.path(u"copy"_s), folder.data()), QString());
    }

    void archiveLargerThanTheDiskIsRefused_data() {
        QTest::addColumn<bool>("isListed");
        QTest::newRow("and says so") << true;
        QTest::newRow("and hides it") << false;
    }

    void archiveLargerThanTheDiskIsRefused() {
        QFETCH(const bool, isListed);
        const DataFolder folder;
        const SmallDisk disk(folder, "size=4m", u"tmp"_s);
        folder.write(u"pack/data/kuma.db"_s, QByteArray(20'000'000, 'x'));
        runTool(u"bsdtar"_s, {u"-c"_s, u"--format"_s, u"zip"_s, u"-f"_s, folder.path(u"bomb.zip"_s), u"-C"_s,
                              folder.path(u"pack"_s), u"data"_s});
        if (!isListed) {
            folder.write(u"bomb.zip"_s, folder.read(u"bomb.zip"_s).replace("PK\x05\x06", "PK\x05\x07"));
        }
        folder.fill();
        const auto before = describe(folder.data());
        qputenv("TMPDIR", QFile::encodeName(folder.path(u"tmp"_s)));
        const QString message =
            messageOf(BackupManager::restore(folder.path(u"bomb.zip"_s), folder.data(), folder.backups()));
        QVERIFY2(message.startsWith(u"Could not open the zip file. "), qPrintable(message));
        QCOMPARE(message.contains(u"not enough space on the disk: "), isListed);
        QCOMPARE(folder.names(u"tmp"_s), QStringList());
        QCOMPARE(difference(before, describe(folder.data())), QString());
    }

    /// A full disk in memory has no page for a hole, so a signal ends any process that reads the hole through a
    /// mapping. The same happens with an archive that shrinks or a disk that fails.
    void listThatCannotBeMappedIsReadAllTheSame() {
        const DataFolder folder;
        const SmallDisk disk(folder, "size=1m");
        constexpr int length = 600'000;
        QByteArray end("PK\x05\x06\0\0\0\0\1\0\1\0\0\0\0\0\0\0\0\0\0\0", 22);
        qToLittleEndian<quint32>(length, end.data() + 12);
        QFile archive(folder.path(u"disk/a.zip"_s));
        QVERIFY(archive.open(QIODevice::WriteOnly) && archive.seek(length) && archive.write(end) == end.size());
        archive.close();
        QFile rest(folder.path(u"disk/rest"_s));
        QVERIFY(rest.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
        while (rest.write(QByteArray(4096, 'x')) == 4096) {
        }
        QCOMPARE(ZipArchive::list(archive.fileName()).value_or(ZipListing()), ZipListing());
    }

    void watchStopsWhatTakesTooMuch() {
        const DataFolder folder;
        const auto handle = std::make_shared<ProcessHandle>();
        QVERIFY(await(watchRoom(folder.path(), std::numeric_limits<qint64>::max(), handle, {})));
        QVERIFY(handle->isCancelled());
        const auto other = std::make_shared<ProcessHandle>();
        const std::stop_source stop;
        auto watch = watchRoom(folder.path(), 0, other, stop.get_token());
        stop.request_stop();
        QVERIFY(!await(std::move(watch)));
        QVERIFY(!other->isCancelled());
    }

    void weeklyCopiesMakeRoomForDailyOnes() {
        DailyWorld world;
        const SmallDisk disk(world.folder, "size=12m", u"Orvanel/Backups"_s);
        world.folder.write(u"Orvanel/data/kuma.db"_s, noise(1'000'000));
        QStringList deleted;
        for (int day = 0; day < 40; ++day) {
            const QStringList before = world.shown();
            world.now = world.now.addDays(1);
            const DailyBackupResult result = world.make().value();
            if (!result.deletedForRoom.isEmpty()) {
                QCOMPARE(result.deletedForRoom, before.first(result.deletedForRoom.size()));
                QVERIFY(before.size() - result.deletedForRoom.size() >= 7);
            }
            deleted += result.deletedForRoom;
            world.prune();
            const qint64 free = bytesFreeAt(world.folder.backups());
            QVERIFY2(free >= 1'200'000, qPrintable(QString::number(free)));
            QVERIFY(world.shown().size() >= std::min(day + 1, 7));
        }
        QVERIFY(deleted.size() >= 2);
        QCOMPARE(world.look().copies.last().made(), world.now);
    }

    void lastGoodCopyOutlivesAFullDisk() {
        DailyWorld world;
        const SmallDisk disk(world.folder, "size=12m", u"Orvanel/Backups"_s);
        world.folder.write(u"Orvanel/data/kuma.db"_s, noise(1'000'000));
        world.make();
        const QString good = world.shown().first();
        world.folder.write(u"Orvanel/data/kuma.db"_s, QByteArray("SQLite format 3\0", 16) + noise(1'000'000));
        for (int day = 0; day < 60; ++day) {
            world.nextDay();
            world.prune();
            QVERIFY(world.shown().contains(good));
        }
        const auto before = describe(world.folder.backups(good));
        world.folder.write(u"Orvanel/data/kuma.db"_s, noise(8'000'000));
        world.now = world.now.addDays(1);
        const QString message = messageOf(DailyCopies::make(world.folder.data(), world.folder.backups(), world.now));
        QVERIFY2(message.startsWith(u"There is not enough space on the disk: "), qPrintable(message));
        QCOMPARE(difference(before, describe(world.folder.backups(good))), QString());
        QCOMPARE(world.look().copies.size(), 8);
    }
};

ORVANEL_TEST_WITH(
    TestFullDisk, .prepare = [] { whyNoMounts = enterOwnMounts(); })
#include "TestFullDisk.moc"
