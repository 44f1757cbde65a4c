#include "backup/BackupManager.h"

#include "DataFolder.h"
#include "Interception.h"
#include "Message.h"
#include "support/TestClass.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <atomic>
#include <cerrno>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

/// Where a backup may be, and how it replaces what is there.
class TestPlaces : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() {
        interception().withoutExchange = false;
        interception().renameFailure = {};
        interception().onStep = {};
        interception().isWithoutLinks = {};
        interception().modeFailure = {};
    }

    void backupsThatWouldOverlapAreRefused_data() {
        QTest::addColumn<QString>("place");
        const auto row = [](const char* name, const QString& place) { QTest::newRow(name) << place; };
        row("the data folder", u"Orvanel/data"_s);
        row("inside it", u"Orvanel/data/copy"_s);
        row("deep inside it", u"Orvanel/data/upload/copy"_s);
        row("a zip inside it", u"Orvanel/data/copy.zip"_s);
        row("over its database", u"Orvanel/data/kuma.db"_s);
        row("what holds it", u"Orvanel"_s);
        row("what holds that", u"."_s);
        row("by way of ..", u"Orvanel/data/upload/../copy"_s);
        row("by way of .. after a link", u"into/../copy"_s);
        row("ending in ..", u"Orvanel/data/upload/.."_s);
        row("ending in a slash", u"Orvanel/data/"_s);
        row("through a link to it", u"to-data/copy"_s);
        row("through a link into it", u"into/copy"_s);
        row("the Backups folder with kept data", u"Orvanel/Backups"_s);
    }

    void backupsThatWouldOverlapAreRefused() {
        QFETCH(const QString, place);
        const DataFolder folder;
        folder.fill();
        folder.write(u"Orvanel/Backups/before-restore-2020-01-01-000000/kuma.db"_s, "kept");
        QVERIFY(QFile::link(folder.data(), folder.path(u"to-data"_s)));
        QVERIFY(QFile::link(folder.data(u"upload"_s), folder.path(u"into"_s)));
        const auto before = describe(folder.path());
        const QString message = messageOf(BackupManager::backUp(folder.data(), folder.path() + u'/' + place));
        QVERIFY2(message.contains(u"Choose another place."), qPrintable(message));
        QCOMPARE(difference(before, describe(folder.path())), QString());
    }

    void whatHoldsALinkToTheDataIsRefused_data() {
        QTest::addColumn<QString>("place");
        QTest::newRow("the link") << u"Orvanel/data"_s;
        QTest::newRow("what holds the link") << u"Orvanel"_s;
        QTest::newRow("a link on the way") << u"disks/large"_s;
        QTest::newRow("what holds a link on the way") << u"disks"_s;
        QTest::newRow("what holds the data") << u"disk 1"_s;
    }

    void whatHoldsALinkToTheDataIsRefused() {
        QFETCH(const QString, place);
        const DataFolder folder;
        folder.write(u"disk 1/data/kuma.db"_s, "database");
        QDir().mkpath(folder.path(u"disks"_s));
        QVERIFY(QFile::link(u"../disk 1/data"_s, folder.path(u"disks/large"_s)));
        QVERIFY(QFile::link(folder.path(u"disks/large"_s), folder.data()));
        const auto before = describe(folder.path());
        const QString message = messageOf(BackupManager::backUp(folder.data(), folder.path(place)));
        QVERIFY2(message.contains(u"Choose another place."), qPrintable(message));
        QCOMPARE(difference(before, describe(folder.path())), QString());
    }

    void keptDataIsNotReplaced() {
        for (const QString& name : {u"before-update-2020-01-01-000000"_s, u"before-restore-2020-01-01-000000"_s,
                                    u"before-interrupted-restore-2020-01-01-000000"_s}) {
            const DataFolder folder;
            folder.fill();
            folder.write(u"Orvanel/Backups/"_s + name + u"/kuma.db"_s, "kept");
            QCOMPARE(messageOf(BackupManager::backUp(folder.data(), folder.backups())),
                     u"That folder contains data kept by an earlier restore or update. Choose another place."_s);
            QVERIFY(QFileInfo::exists(folder.backups(name)));
        }
    }

    void keptDataItselfIsNotReplaced_data() {
        QTest::addColumn<QString>("place");
        QTest::newRow("of a restore") << u"Orvanel/Backups/before-restore-2020-01-01-000000"_s;
        QTest::newRow("of an update") << u"Orvanel/Backups/before-update-2020-01-01-000000"_s;
        QTest::newRow("of a killed restore") << u"elsewhere/before-interrupted-restore-2020-01-01-000000"_s;
        QTest::newRow("inside it") << u"Orvanel/Backups/before-restore-2020-01-01-000000/upload"_s;
        QTest::newRow("a zip inside it") << u"linked/before-restore-2020-01-01-000000/copy.zip"_s;
        QTest::newRow("a new one that the next restore would delete") << u"Orvanel/Backups/before-restore-me"_s;
        QTest::newRow("a new zip that it would delete") << u"Orvanel/Backups/before-restore-me.zip"_s;
    }

    void keptDataItselfIsNotReplaced() {
        QFETCH(const QString, place);
        const DataFolder folder;
        folder.fill();
        folder.write(u"Orvanel/Backups/before-restore-2020-01-01-000000/upload/file"_s, "kept");
        folder.write(u"Orvanel/Backups/before-update-2020-01-01-000000/kuma.db"_s, "kept");
        folder.write(u"elsewhere/before-interrupted-restore-2020-01-01-000000/kuma.db"_s, "kept");
        QVERIFY(QFile::link(folder.backups(), folder.path(u"linked"_s)));
        const auto before = describe(folder.path());
        QCOMPARE(messageOf(BackupManager::backUp(folder.data(), folder.path(place))),
                 u"That folder contains data kept by an earlier restore or update. Choose another place."_s);
        QCOMPARE(difference(before, describe(folder.path())), QString());
    }

    void namesLikeThoseOfKeptDataAreFreeElsewhere() {
        const DataFolder folder;
        folder.fill();
        for (const QString& name : {u"before-update-to-3"_s, u"before-restore-me.zip"_s, u"Orvanel/Backups/mine"_s}) {
            QDir().mkpath(folder.backups());
            await(BackupManager::backUp(folder.data(), folder.path(name)));
            QVERIFY(QFileInfo::exists(folder.path(name)));
        }
    }

    void relativeDestinationIsRefusedJustSo() {
        const DataFolder folder;
        folder.fill();
        const QString here = QDir::currentPath();
        QVERIFY(QDir::setCurrent(folder.data(u"upload"_s)));
        const QString message = messageOf(BackupManager::backUp(folder.data(), u"copy"_s));
        QVERIFY(QDir::setCurrent(here));
        QVERIFY2(message.contains(u"inside the data folder"), qPrintable(message));
    }

    void aLinkToTheDataIsOnlyReplaced() {
        const DataFolder folder;
        folder.fill();
        const auto before = describe(folder.data());
        QVERIFY(QFile::link(folder.data(), folder.path(u"copy"_s)));
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QVERIFY(!QFileInfo(folder.path(u"copy"_s)).isSymLink());
        QCOMPARE(difference(before, describe(folder.path(u"copy"_s))), QString());
        QCOMPARE(difference(before, describe(folder.data())), QString());
    }

    void restoresThatWouldOverlapAreRefused() {
        const DataFolder folder;
        folder.fill();
        folder.write(u"Orvanel/data/inner/kuma.db"_s, "");
        folder.write(u"Orvanel/data/inner.zip"_s, "");
        folder.write(u"Orvanel/kuma.db"_s, "");
        QVERIFY(QFile::link(folder.data(u"inner"_s), folder.path(u"linked"_s)));
        const auto before = describe(folder.path());
        for (const QString& source :
             {u"Orvanel/data"_s, u"Orvanel/data/inner"_s, u"Orvanel/data/inner.zip"_s, u"linked"_s, u"Orvanel"_s}) {
            const QString message =
                messageOf(BackupManager::restore(folder.path(source), folder.data(), folder.backups()));
            QVERIFY2(message.contains(u"cannot be restored"), qPrintable(source + message));
        }
        const QString message = messageOf(
            BackupManager::restore(folder.path(u"linked"_s), folder.path(u"other"_s), folder.path(u"other/Backups"_s)));
        QVERIFY2(message.contains(u"must not be inside each other"), qPrintable(message));
        QCOMPARE(messageOf(BackupManager::autoBackup(folder.data(), folder.data(u"Backups"_s), u"x"_s)),
                 u"The Backups folder must not be inside the data folder."_s);
        QCOMPARE(difference(before, describe(folder.path())), QString());
    }

    void keptDataIsNotPrunedWhileItIsRestoredFrom_data() {
        QTest::addColumn<QString>("source");
        QTest::newRow("itself") << u"Orvanel/Backups/before-restore-2020-01-01-000000"_s;
        QTest::newRow("a folder in it") << u"Orvanel/Backups/before-restore-2020-01-01-000000/inner"_s;
        QTest::newRow("through a link") << u"linked"_s;
    }

    void keptDataIsNotPrunedWhileItIsRestoredFrom() {
        QFETCH(const QString, source);
        const DataFolder folder;
        folder.fill();
        folder.write(u"Orvanel/Backups/before-restore-2020-01-01-000000/kuma.db"_s, "kept");
        folder.write(u"Orvanel/Backups/before-restore-2020-01-01-000000/inner/kuma.db"_s, "kept");
        folder.write(u"Orvanel/Backups/before-restore-2019-01-01-000000/kuma.db"_s, "older");
        folder.write(u"Orvanel/Backups/before-update-2019-01-01-000000/kuma.db"_s, "of an update");
        QVERIFY(QFile::link(folder.backups(u"before-restore-2020-01-01-000000"_s), folder.path(u"linked"_s)));
        await(BackupManager::restore(folder.path(source), folder.data(), folder.backups()));
        QCOMPARE(folder.read(u"Orvanel/data/kuma.db"_s), QByteArray("kept"));
        const QStringList kept = folder.kept();
        QCOMPARE(kept.size(), 3);
        QVERIFY(kept.contains(u"before-restore-2020-01-01-000000"_s));
        QVERIFY(kept.contains(u"before-update-2019-01-01-000000"_s));
    }

    void aLinkedDataFolderStaysALink() {
        const DataFolder folder;
        folder.fill();
        QVERIFY(QDir().mkpath(folder.path(u"large disk"_s)));
        QVERIFY(QDir().rename(folder.data(), folder.path(u"large disk/data"_s)));
        QVERIFY(QFile::link(u"../large disk/data"_s, folder.data()));
        const auto before = describe(folder.path(u"large disk/data"_s));
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(difference(before, describe(folder.path(u"copy"_s))), QString());
        folder.write(u"copy/new"_s, "new");
        await(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups()));
        QVERIFY(QFileInfo(folder.data()).isSymLink());
        QCOMPARE(folder.read(u"large disk/data/new"_s), QByteArray("new"));
        QCOMPARE(difference(before, describe(folder.backups(folder.kept().value(0)))), QString());
    }

    /// The disk plays a FAT or exFAT disk, as most USB sticks are.
    void diskWithoutLinksTakesAZip() {
        const DataFolder folder;
        folder.fill();
        QDir().mkpath(folder.path(u"stick"_s));
        interception().isWithoutLinks = [stick = folder.path(u"stick"_s).toStdString()](const std::string& at) {
            return at.starts_with(stick);
        };
        const QString message = messageOf(BackupManager::backUp(folder.data(), folder.path(u"stick/copy"_s)));
        const QString start = u"This disk does not support links ("_s + folder.data();
        QVERIFY2(message.startsWith(start) && message.endsWith(u"). Back up to a zip file instead."),
                 qPrintable(message));
        await(BackupManager::backUp(folder.data(), folder.path(u"stick/copy.zip"_s)));
        QCOMPARE(folder.names(u"stick"_s), QStringList{u"copy.zip"_s});
        QCOMPARE(folder.names(u"Orvanel"_s), QStringList{u"data"_s});
        const QString back = folder.path(u"back"_s);
        await(BackupManager::restore(folder.path(u"stick/copy.zip"_s), back, folder.backups()));
        QCOMPARE(describe(back).keys(), describe(folder.data()).keys());
        QCOMPARE(describe(back).value(u"icon.png"_s), u"link to upload/logo1.png"_s);
    }

    /// The disk does not keep permissions either, but the archive must.
    void zipForADiskWithoutLinksIsMadeReadyBesideTheData() {
        const DataFolder folder;
        folder.write(u"Orvanel/data/kuma.db"_s, "");
        QVERIFY(QFile::setPermissions(folder.data(u"kuma.db"_s), QFile::ReadOwner | QFile::ReadGroup));
        QDir().mkpath(folder.path(u"stick"_s));
        const auto isOnStick = [stick = folder.path(u"stick"_s).toStdString()](const std::string& at) {
            return at.starts_with(stick);
        };
        interception().isWithoutLinks = isOnStick;
        interception().modeFailure = [&](const std::string& path) { return isOnStick(path) ? EPERM : 0; };
        await(BackupManager::backUp(folder.data(), folder.path(u"stick/copy.zip"_s)));
        interception().modeFailure = {};
        const QString back = folder.path(u"back"_s);
        await(BackupManager::restore(folder.path(u"stick/copy.zip"_s), back, folder.backups()));
        const QString file = describe(back).value(u"kuma.db"_s);
        QVERIFY2(file.startsWith(u"file 440 "), qPrintable(file));
    }

    void withoutExchangeItGoesInTwoSteps() {
        interception().withoutExchange = true;
        const DataFolder folder;
        folder.fill();
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        folder.write(u"copy/old"_s, "old");
        folder.write(u"copy.zip"_s, "old");
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        await(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s)));
        QCOMPARE(difference(folder.data(), folder.path(u"copy"_s)), QString());
        QVERIFY(folder.read(u"copy.zip"_s).startsWith("PK"));
        QCOMPARE(folder.names().size(), 3);
    }

    void secondStepThatFailsIsTakenBack() {
        interception().withoutExchange = true;
        const DataFolder folder;
        folder.fill();
        folder.write(u"copy/old"_s, "old");
        interception().renameFailure = [](const std::string& from, const std::string&) {
            return from.ends_with("/copy") && from.find("/replaced/") == std::string::npos &&
                           from.find(".orvanel-") != std::string::npos
                       ? EIO
                       : 0;
        };
        const QString message = messageOf(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(message, folder.path(u"copy"_s) + u": Input/output error"_s);
        QCOMPARE(folder.read(u"copy/old"_s), QByteArray("old"));
        QCOMPARE(folder.names().size(), 2);
    }

    void whatCannotBeTakenBackIsKeptAndTold() {
        interception().withoutExchange = true;
        const DataFolder folder;
        folder.fill();
        folder.write(u"copy/old"_s, "old");
        interception().renameFailure = [](const std::string& from, const std::string& to) {
            return from.find(".orvanel-") != std::string::npos && to.ends_with("/copy") ? EIO : 0;
        };
        const QString message = messageOf(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        const QString start = folder.path(u"copy"_s) + u": Input/output error. The previous content is now in "_s;
        QVERIFY2(message.startsWith(start), qPrintable(message));
        QFile old(message.mid(start.size()) + u"/copy/old"_s);
        QVERIFY2(old.open(QIODevice::ReadOnly) && old.readAll() == "old", qPrintable(message));
        interception().renameFailure = {};
        await(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s)));
        QCOMPARE(folder.read(u"copy/old"_s), QByteArray("old"));
        QCOMPARE(folder.names().size(), 3);
    }

    void dataThatCannotBeTakenBackIsTold() {
        const DataFolder folder;
        folder.fill();
        folder.write(u"earlier/kuma.db"_s, "of an earlier time");
        const auto before = describe(folder.data());
        interception().renameFailure = [&](const std::string&, const std::string& to) {
            return to == folder.data().toStdString() ? EIO : 0;
        };
        const QString message =
            messageOf(BackupManager::restore(folder.path(u"earlier"_s), folder.data(), folder.backups()));
        const auto at = message.indexOf(u". The current data is now in "_s);
        QVERIFY2(at > 0, qPrintable(message));
        QCOMPARE(difference(before, describe(message.mid(at + 29))), QString());
        interception().renameFailure = {};
        BackupManager::recover(folder.data(), folder.backups());
        QCOMPARE(difference(before, describe(folder.data())), QString());
    }

    /// Quotas and layered file systems forbid some renames within one mount.
    void dataThatCannotBeMovedIsCopied() {
        const DataFolder folder;
        folder.fill();
        folder.write(u"earlier/kuma.db"_s, "of an earlier time");
        const auto before = describe(folder.data());
        interception().renameFailure = [&](const std::string& from, const std::string& to) {
            const std::string backups = folder.backups().toStdString() + '/';
            return to.starts_with(backups) && !from.starts_with(backups) ? EXDEV : 0;
        };
        const QString message =
            messageOf(BackupManager::restore(folder.path(u"earlier"_s), folder.data(), folder.backups()));
        QCOMPARE(message, u"none"_s);
        QCOMPARE(difference(folder.path(u"earlier"_s), folder.data()), QString());
        QCOMPARE(folder.kept().size(), 1);
        QCOMPARE(difference(before, describe(folder.backups(folder.kept().value(0)))), QString());
        QCOMPARE(folder.names(u"Orvanel"_s), (QStringList{u"Backups"_s, u"data"_s}));
    }

    void restoreWhoseSecondStepFailsIsTakenBack() {
        const DataFolder folder;
        folder.fill();
        folder.write(u"earlier/kuma.db"_s, "of an earlier time");
        const auto before = describe(folder.data());
        interception().renameFailure = [](const std::string& from, const std::string&) {
            return from.find(".orvanel-") != std::string::npos ? EIO : 0;
        };
        const QString message =
            messageOf(BackupManager::restore(folder.path(u"earlier"_s), folder.data(), folder.backups()));
        QVERIFY2(message.endsWith(u"Input/output error"), qPrintable(message));
        QCOMPARE(difference(before, describe(folder.data())), QString());
        QCOMPARE(folder.kept(), QStringList());
    }

    /// The data was copied, because it cannot be moved, and then stays where it is.
    void copyThatIsNotNeededIsNeverHalfThere() {
        const DataFolder folder;
        folder.fill();
        folder.write(u"earlier/kuma.db"_s, "of an earlier time");
        const auto before = describe(folder.data());
        interception().renameFailure = [&](const std::string& from, const std::string& to) {
            const std::string backups = folder.backups().toStdString() + '/';
            if (to.starts_with(backups)) {
                return from.starts_with(backups) ? 0 : EXDEV;
            }
            return from.find(".orvanel-") != std::string::npos ? EIO : 0;
        };
        std::atomic<int> whole{0};
        std::atomic<int> half{0};
        interception().onStep = [&](int) {
            for (const QString& name : folder.kept().filter(QRegularExpression(u"^[^.]"_s))) {
                const QString changed = difference(before, describe(folder.backups(name)));
                (changed.isEmpty() ? whole : half) += 1;
            }
        };
        const QString message =
            messageOf(BackupManager::restore(folder.path(u"earlier"_s), folder.data(), folder.backups()));
        interception().onStep = {};
        QVERIFY2(message.endsWith(u"Input/output error"), qPrintable(message));
        QCOMPARE(folder.kept(), QStringList());
        QVERIFY(whole > 0);
        QCOMPARE(half.load(), 0);
    }
};

ORVANEL_TEST(TestPlaces)
#include "TestPlaces.moc"
