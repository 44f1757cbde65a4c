#include "backup/BackupManager.h"

#include "DataFolder.h"
#include "Message.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

class TestRestore : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void folderComesBackAndTheDataIsKept() {
        const DataFolder folder;
        folder.fill();
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        folder.write(u"Orvanel/data/new"_s, "made since");
        const auto old = describe(folder.data());
        await(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups()));
        QCOMPARE(difference(folder.path(u"copy"_s), folder.data()), QString());
        const QStringList kept = folder.kept();
        QCOMPARE(kept.size(), 1);
        QVERIFY(QDateTime::fromString(kept.first(), u"'before-restore-'yyyy-MM-dd-HHmmss"_s).isValid());
        QCOMPARE(difference(old, describe(folder.backups(kept.first()))), QString());
        QCOMPARE(folder.names(u"Orvanel"_s), (QStringList{u"Backups"_s, u"data"_s}));
    }

    void zipComesBack() {
        const DataFolder folder;
        folder.fill();
        const auto old = describe(folder.data());
        await(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s)));
        folder.write(u"Orvanel/data/new"_s, "made since");
        await(BackupManager::restore(folder.path(u"copy.zip"_s), folder.data(), folder.backups()));
        QCOMPARE(describe(folder.data()).keys(), old.keys());
        QCOMPARE(folder.read(u"Orvanel/data/upload/größe 名前 🐟.txt"_s), QByteArray("named in many letters"));
        QCOMPARE(folder.kept().size(), 1);
    }

    void restoringTwiceKeepsOneFolder() {
        const DataFolder folder;
        folder.fill();
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        await(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups()));
        folder.write(u"Orvanel/data/new"_s, "made since");
        await(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups()));
        const QStringList kept = folder.kept();
        QCOMPARE(kept.size(), 1);
        QVERIFY(QFileInfo::exists(folder.backups(kept.first() + u"/new"_s)));
    }

    void withoutDataTheBackupIsOnlyCopied() {
        const DataFolder folder;
        folder.write(u"copy/db-config.json"_s, "{}");
        await(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups()));
        QCOMPARE(difference(folder.path(u"copy"_s), folder.data()), QString());
        QCOMPARE(folder.kept(), QStringList());
    }

    void whatIsNoDataIsRefused() {
        const DataFolder folder;
        folder.fill();
        folder.write(u"other/photo.jpg"_s, "");
        const auto old = describe(folder.data());
        const QString sentence = u"That folder does not look like an Uptime Kuma data folder (no kuma.db)."_s;
        for (const QString& name : {u"other"_s, u"nowhere"_s, u"other/photo.jpg"_s}) {
            QCOMPARE(messageOf(BackupManager::restore(folder.path(name), folder.data(), folder.backups())), sentence);
        }
        QCOMPARE(difference(old, describe(folder.data())), QString());
        QCOMPARE(folder.names(u"Orvanel"_s), QStringList{u"data"_s});
    }
};

QTEST_GUILESS_MAIN(TestRestore)
#include "TestRestore.moc"
