#include "backup/BackupManager.h"

#include "DataFolder.h"
#include "process/AppError.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

using Change = std::function<void(const DataFolder& folder)>;
Q_DECLARE_METATYPE(Change)

/// Whether a folder holds what it held.
class TestFingerprint : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void changesAreNoticed_data() {
        QTest::addColumn<Change>("change");
        const auto row = [](const char* name, const Change& change) { QTest::newRow(name) << change; };
        row("a byte", [](const DataFolder& folder) { folder.write(u"d/kuma.db"_s, "precioux"); });
        row("appended", [](const DataFolder& folder) { folder.write(u"d/kuma.db"_s, "precious."); });
        row("cut", [](const DataFolder& folder) { folder.write(u"d/kuma.db"_s, ""); });
        row("new", [](const DataFolder& folder) { folder.write(u"d/other"_s, ""); });
        row("deleted", [](const DataFolder& folder) { QFile::remove(folder.path(u"d/upload/a"_s)); });
        row("new folder", [](const DataFolder& folder) { QDir().mkpath(folder.path(u"d/e"_s)); });
        row("renamed", [](const DataFolder& folder) {
            QFile::rename(folder.path(u"d/upload/a"_s), folder.path(u"d/upload/b"_s));
        });
        row("moved",
            [](const DataFolder& folder) { QFile::rename(folder.path(u"d/upload/a"_s), folder.path(u"d/a"_s)); });
        row("link instead", [](const DataFolder& folder) {
            QFile::remove(folder.path(u"d/kuma.db"_s));
            QVERIFY(::symlink("upload/a", QFile::encodeName(folder.path(u"d/kuma.db"_s)).constData()) == 0);
        });
    }
    void changesAreNoticed() {
        QFETCH(const Change, change);
        const DataFolder folder;
        folder.write(u"d/kuma.db"_s, "precious");
        folder.write(u"d/upload/a"_s, "logo");
        const QString before = await(BackupManager::fingerprint(folder.path(u"d"_s)));
        QVERIFY(!before.isEmpty() && !before.contains(u'/'));
        QCOMPARE(await(BackupManager::fingerprint(folder.path(u"d"_s))), before);
        change(folder);
        QVERIFY(await(BackupManager::fingerprint(folder.path(u"d"_s))) != before);
    }

    void copiesAndOtherDatesAreTheSame() {
        const DataFolder folder;
        folder.fill();
        const QString before = await(BackupManager::fingerprint(folder.data()));
        QCOMPARE(runTool(u"cp"_s, {u"-r"_s, folder.data(), folder.path(u"copy"_s)}), QString());
        QVERIFY(difference(folder.data(), folder.path(u"copy"_s)) != QString());
        QCOMPARE(await(BackupManager::fingerprint(folder.path(u"copy"_s))), before);
    }

    void whatCannotBeReadThrows() {
        const DataFolder folder;
        QVERIFY_THROWS_EXCEPTION(AppError, await(BackupManager::fingerprint(folder.path(u"nothing"_s))));
    }

    void folderInItsPlaceIsAnotherOne() {
        const DataFolder folder;
        folder.fill();
        const QString before = BackupManager::identity(folder.data());
        QVERIFY(!before.isEmpty() && !before.contains(u'/'));
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(BackupManager::identity(folder.data()), before);
        await(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups()));
        QVERIFY(BackupManager::identity(folder.data()) != before);
        QCOMPARE(BackupManager::identity(folder.backups(folder.kept().first())), before);
        QCOMPARE(BackupManager::identity(folder.path(u"nothing"_s)), QString());
    }
};

ORVANEL_TEST(TestFingerprint)
#include "TestFingerprint.moc"
