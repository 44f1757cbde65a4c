#include "backup/BackupManager.h"
#include "support/TestClass.h"

#include "DailyWorld.h"
#include "Interception.h"
#include "Message.h"
#include "SmallDisk.h"

#include <QDir>

#include <cerrno>
#include <sys/mount.h>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

QString whyNoMounts;

} // namespace

/// Data and backups that lie on two disks, or behind two mounts of one.
class TestOtherDisks : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() {
        if (!whyNoMounts.isEmpty()) {
            QSKIP(qPrintable(u"This process may not mount a small disk: "_s + whyNoMounts));
        }
    }

    void cleanup() {
        interception().withoutExchange = false;
        interception().renameFailure = {};
    }

    void backupsOnAnotherDiskGetACopyOfTheData() {
        const DataFolder folder;
        folder.fill();
        const SmallDisk disk(folder, "size=40m", u"Orvanel/Backups"_s);
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        folder.write(u"Orvanel/data/new"_s, "made since");
        folder.write(u"Orvanel/Backups/before-restore-2020-01-01-000000/kuma.db"_s, "older");
        const auto before = describe(folder.data());
        await(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups()));
        QCOMPARE(difference(folder.path(u"copy"_s), folder.data()), QString());
        QCOMPARE(folder.kept().size(), 1);
        QCOMPARE(difference(before, describe(folder.backups(folder.kept().first()))), QString());
        QCOMPARE(folder.names(u"Orvanel"_s).size(), 2);
    }

    void copyOnAnotherDiskGoesOnlyWhenTheDataIsInItsPlace_data() {
        QTest::addColumn<bool>("canTakeBack");
        QTest::addColumn<int>("kept");
        QTest::newRow("taken back") << true << 0;
        QTest::newRow("not even that") << false << 1;
    }

    void copyOnAnotherDiskGoesOnlyWhenTheDataIsInItsPlace() {
        QFETCH(const bool, canTakeBack);
        QFETCH(const int, kept);
        const DataFolder folder;
        folder.fill();
        const SmallDisk disk(folder, "size=40m", u"Orvanel/Backups"_s);
        folder.write(u"earlier/kuma.db"_s, "of an earlier time");
        const auto before = describe(folder.data());
        interception().withoutExchange = true;
        interception().renameFailure = [&](const std::string& from, const std::string& to) {
            const bool isBack = from.find("/replaced/") != std::string::npos;
            return to == folder.data().toStdString() && !(isBack && canTakeBack) ? EIO : 0;
        };
        const QString message =
            messageOf(BackupManager::restore(folder.path(u"earlier"_s), folder.data(), folder.backups()));
        QCOMPARE(message.contains(u". The previous content is now in "), !canTakeBack);
        QCOMPARE(folder.kept().size(), kept);
        interception().renameFailure = {};
        if (!canTakeBack) {
            QCOMPARE(difference(before, describe(folder.backups(folder.kept().first()))), QString());
            // The next run at this place gives the data back.
            await(BackupManager::backUp(folder.path(u"earlier"_s), folder.path(u"Orvanel/copy"_s)));
        }
        QCOMPARE(difference(before, describe(folder.data())), QString());
    }

    void backupsBehindAnotherMountGetACopyOfTheData() {
        const DataFolder folder;
        folder.fill();
        folder.write(u"earlier/kuma.db"_s, "of an earlier time");
        QDir().mkpath(folder.path(u"elsewhere"_s));
        QDir().mkpath(folder.backups());
        const QByteArray elsewhere = QFile::encodeName(folder.path(u"elsewhere"_s));
        const QByteArray backups = QFile::encodeName(folder.backups());
        QCOMPARE(::mount(elsewhere.constData(), backups.constData(), nullptr, MS_BIND, nullptr), 0);
        const auto before = describe(folder.data());
        const QString message =
            messageOf(BackupManager::restore(folder.path(u"earlier"_s), folder.data(), folder.backups()));
        ::umount2(backups.constData(), MNT_DETACH);
        QCOMPARE(message, u"none"_s);
        QCOMPARE(folder.read(u"Orvanel/data/kuma.db"_s), QByteArray("of an earlier time"));
        const QStringList kept = folder.names(u"elsewhere"_s);
        QCOMPARE(kept.size(), 1);
        QCOMPARE(difference(before, describe(folder.path(u"elsewhere/"_s + kept.first()))), QString());
    }

    void otherDiskWithoutRoomChangesNothing() {
        const DataFolder folder;
        folder.fill();
        folder.write(u"Orvanel/data/large"_s, noise(5'000'000));
        const SmallDisk disk(folder, "size=4m", u"Orvanel/Backups"_s);
        folder.write(u"copy/kuma.db"_s, "");
        folder.write(u"Orvanel/Backups/before-restore-2020-01-01-000000/kuma.db"_s, "older");
        const auto before = describe(folder.path(u"Orvanel"_s));
        const QString message =
            messageOf(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups()));
        QVERIFY2(message.startsWith(u"There is not enough space on the disk: "), qPrintable(message));
        QCOMPARE(describe(folder.path(u"Orvanel"_s)).keys(), before.keys());
        QCOMPARE(folder.read(u"Orvanel/data/large"_s), noise(5'000'000));
    }

    void readOnlyBackupsAreToldAndStay() {
        DailyWorld world;
        world.folder.fill();
        world.make();
        const auto before = describe(world.folder.backups());
        const QByteArray backups = QFile::encodeName(world.folder.backups());
        QCOMPARE(::mount(backups.constData(), backups.constData(), nullptr, MS_BIND, nullptr), 0);
        QCOMPARE(::mount("none", backups.constData(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), 0);
        world.now = world.now.addDays(1);
        const QString message = messageOf(DailyCopies::make(world.folder.data(), world.folder.backups(), world.now));
        world.prune();
        const DailyCopyStock stock = world.look();
        ::umount2(backups.constData(), MNT_DETACH);
        QCOMPARE(message, world.folder.backups() + u": Read-only file system"_s);
        QCOMPARE(stock.copies.size(), 1);
        QVERIFY(stock.copies.first().isGood());
        QCOMPARE(difference(before, describe(world.folder.backups())), QString());
    }

    void anotherNameOfTheDataIsStillTheData() {
        const DataFolder folder;
        folder.fill();
        QDir().mkpath(folder.path(u"alias"_s));
        const QByteArray upload = QFile::encodeName(folder.data(u"upload"_s));
        const QByteArray alias = QFile::encodeName(folder.path(u"alias"_s));
        QCOMPARE(::mount(upload.constData(), alias.constData(), nullptr, MS_BIND, nullptr), 0);
        const QStringList before = describe(folder.data()).keys();
        const QString message = messageOf(BackupManager::backUp(folder.data(), folder.path(u"alias/copy"_s)));
        ::umount2(alias.constData(), MNT_DETACH);
        QVERIFY2(message.contains(u"inside the data folder"), qPrintable(message));
        QCOMPARE(describe(folder.data()).keys(), before);
    }
};

ORVANEL_TEST_WITH(
    TestOtherDisks, .prepare = [] { whyNoMounts = enterOwnMounts(); })
#include "TestOtherDisks.moc"
