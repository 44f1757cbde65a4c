#include "backup/BackupManager.h"

#include "DataFolder.h"
#include "Message.h"
#include "support/TestClass.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

QStringList sorted(QStringList names) {
    names.sort();
    return names;
}

} // namespace

class TestBackup : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void folderBackupIsAPlainCopy() {
        const DataFolder folder;
        folder.fill();
        const auto before = describe(folder.data());
        const auto result = await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(result, (BackupResult{folder.path(u"copy"_s), std::nullopt}));
        QCOMPARE(difference(folder.data(), folder.path(u"copy"_s)), QString());
        QCOMPARE(difference(before, describe(folder.data())), QString());
        QCOMPARE(sorted(folder.names()), sorted({u"Orvanel"_s, u"copy"_s}));
    }

    void zipHoldsOneFolderNamedLikeTheData() {
        const DataFolder folder;
        folder.fill();
        const QString zip = folder.path(u"Backup 1.ZIP"_s);
        const auto result = await(BackupManager::backUp(folder.data(), zip));
        QCOMPARE(result.path, zip);
        QCOMPARE(sorted(folder.names()), sorted({u"Backup 1.ZIP"_s, u"Orvanel"_s}));
        const QStringList lines = runTool(u"bsdtar"_s, {u"-tf"_s, zip}).split(u'\n', Qt::SkipEmptyParts);
        QVERIFY(lines.contains(u"data/kuma.db"_s));
        for (const QString& line : lines) {
            QVERIFY2(line.startsWith(u"data/"), qPrintable(line));
        }
        QVERIFY(!runTool(u"unzip"_s, {u"-tq"_s, zip}).startsWith(u"failed"));
        QVERIFY(!runTool(u"7z"_s, {u"t"_s, zip}).startsWith(u"failed"));
    }

    void linkThatLeadsOutCannotGoIntoAZip_data() {
        QTest::addColumn<QString>("link");
        QTest::addColumn<QString>("target");
        QTest::newRow("absolute") << u"link"_s << u"/etc/passwd"_s;
        QTest::newRow("up") << u"link"_s << u"../outside"_s;
        QTest::newRow("from further in") << u"upload/link"_s << u"../../outside"_s;
    }

    /// Restoring would refuse such an archive.
    void linkThatLeadsOutCannotGoIntoAZip() {
        QFETCH(const QString, link);
        QFETCH(const QString, target);
        const DataFolder folder;
        folder.fill();
        folder.write(u"copy.zip"_s, "the old backup");
        QVERIFY(QFile::link(target, folder.data(link)));
        const QString message = messageOf(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s)));
        QVERIFY2(message.startsWith(u"Could not create the zip file. A link points outside the data folder. "),
                 qPrintable(message));
        QVERIFY2(message.endsWith(u"/data/"_s + link), qPrintable(message));
        QCOMPARE(folder.read(u"copy.zip"_s), QByteArray("the old backup"));
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        await(BackupManager::restore(folder.path(u"copy"_s), folder.path(u"back"_s), folder.backups()));
        QCOMPARE(difference(folder.data(), folder.path(u"back"_s)), QString());
    }

    void whatIsAsDeepAsItMayBeComesBack() {
        const DataFolder folder;
        folder.write(u"Orvanel/data/kuma.db"_s, "");
        const QString levels = u"/x"_s.repeated(200);
        QVERIFY(QDir().mkpath(folder.data() + levels));
        await(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s)));
        await(BackupManager::restore(folder.path(u"copy.zip"_s), folder.path(u"back"_s), folder.backups()));
        QVERIFY(QFileInfo(folder.path(u"back"_s) + levels).isDir());
        QVERIFY(QDir().mkpath(folder.data() + levels + u"/x"_s));
        const QString message = messageOf(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s)));
        QVERIFY2(message.endsWith(u"File name too long"), qPrintable(message));
    }

    void withoutDataThereIsNothingToBackUp() {
        const DataFolder folder;
        const QString sentence = u"There is no data folder yet. Start Uptime Kuma once first."_s;
        QCOMPARE(messageOf(BackupManager::backUp(folder.data(), folder.path(u"copy"_s))), sentence);
        QCOMPARE(messageOf(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s))), sentence);
        QCOMPARE(folder.names(), QStringList{u"Orvanel"_s});
    }

    /// A link to itself stands for a disk that does not answer, or a folder that may not be read.
    void dataThatCannotBeLookedAtIsNotTakenForNone() {
        const DataFolder folder;
        QVERIFY(QFile::link(folder.data(), folder.data()));
        const QString sentence = folder.data() + u": Too many levels of symbolic links"_s;
        QCOMPARE(messageOf(BackupManager::backUp(folder.data(), folder.path(u"copy"_s))), sentence);
        QCOMPARE(messageOf(BackupManager::autoBackup(folder.data(), folder.backups(), u"before-update"_s)), sentence);
        QCOMPARE(folder.names(), QStringList{u"Orvanel"_s});
        // If a file is in the way of the folder, there is no data folder.
        folder.write(u"file"_s, "");
        QCOMPARE(await(BackupManager::autoBackup(folder.path(u"file/data"_s), folder.backups(), u"x"_s)), std::nullopt);
    }

    void whatWasAtTheDestinationIsReplaced_data() {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("old");
        for (const char* const name : {"copy", "copy.zip"}) {
            for (const char* const old : {"file", "folder", "link", "read-only folder"}) {
                QTest::addRow("%s over a %s", name, old) << QString::fromLatin1(name) << QString::fromLatin1(old);
            }
        }
    }

    void whatWasAtTheDestinationIsReplaced() {
        QFETCH(const QString, name);
        QFETCH(const QString, old);
        const DataFolder folder;
        folder.fill();
        folder.write(u"elsewhere/precious"_s, "not to be touched");
        const QString destination = folder.path(name);
        if (old == u"file") {
            folder.write(name, "old");
        } else if (old == u"link") {
            QVERIFY(QFile::link(folder.path(u"elsewhere"_s), destination));
        } else {
            folder.write(name + u"/inner/old"_s, "old");
            QVERIFY(old == u"folder" || ::chmod(QFile::encodeName(destination).constData(), 0500) == 0);
        }
        await(BackupManager::backUp(folder.data(), destination));
        QVERIFY(!QFileInfo(destination).isSymLink());
        QCOMPARE(QFileInfo(destination).isDir(), name == u"copy");
        if (name == u"copy") {
            QCOMPARE(difference(folder.data(), destination), QString());
        }
        QCOMPARE(folder.read(u"elsewhere/precious"_s), QByteArray("not to be touched"));
        QCOMPARE(sorted(folder.names()), sorted({u"Orvanel"_s, name, u"elsewhere"_s}));
    }

    void aNameThatIsOnlyTheExtensionMakesAFolder() {
        const DataFolder folder;
        folder.fill();
        await(BackupManager::backUp(folder.data(), folder.path(u".zip"_s)));
        QCOMPARE(difference(folder.data(), folder.path(u".zip"_s)), QString());
    }

    void automaticBackupIsNamedAfterLabelAndTime() {
        const DataFolder folder;
        folder.fill();
        const auto result = await(BackupManager::autoBackup(folder.data(), folder.backups(), u"before-update"_s));
        QVERIFY(result);
        const QString name = QFileInfo(result->path).fileName();
        QVERIFY(QDateTime::fromString(name, u"'before-update-'yyyy-MM-dd-HHmmss"_s).isValid());
        QCOMPARE(folder.kept(), QStringList{name});
        QCOMPARE(difference(folder.data(), result->path), QString());
    }

    void automaticBackupsOfOneSecondDoNotMeet() {
        const DataFolder folder;
        folder.fill();
        for (int i = 0; i < 3; ++i) {
            QVERIFY(await(BackupManager::autoBackup(folder.data(), folder.backups(), u"before-update"_s)));
        }
        QCOMPARE(folder.kept().size(), 3);
    }

    void automaticBackupWithoutDataMakesNothing() {
        const DataFolder folder;
        const auto result = await(BackupManager::autoBackup(folder.data(), folder.backups(), u"before-update"_s));
        QCOMPARE(result, std::nullopt);
        QCOMPARE(folder.names(u"Orvanel"_s), QStringList());
    }

    void timestampHasTheTime() {
        const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
        const auto time = QDateTime::fromString(BackupManager::timestamp(), u"yyyy-MM-dd-HHmmss"_s);
        QVERIFY(time.isValid());
        QVERIFY(before <= time && time <= QDateTime::currentDateTime());
    }

    void dataIsKnownByItsNames() {
        const DataFolder folder;
        QVERIFY(!BackupManager::looksLikeData(folder.path()));
        QVERIFY(!BackupManager::looksLikeData(folder.path(u"nowhere"_s)));
        folder.write(u"one/db-config.json"_s, "");
        QVERIFY(BackupManager::looksLikeData(folder.path(u"one"_s)));
        QDir().mkpath(folder.path(u"two/kuma.db"_s));
        QVERIFY(BackupManager::looksLikeData(folder.path(u"two"_s)));
        folder.write(u"three"_s, "");
        QVERIFY(!BackupManager::looksLikeData(folder.path(u"three"_s)));
    }
};

ORVANEL_TEST(TestBackup)
#include "TestBackup.moc"
