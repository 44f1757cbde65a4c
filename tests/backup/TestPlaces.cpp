#include "backup/BackupManager.h"
#include "backup/WorkFolder.h"

#include "DataFolder.h"
#include "Interception.h"
#include "Message.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <sys/file.h>
#include <unistd.h>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

const QString leftover = u".orvanel-01234567-89AB-CDEF-0123-456789ABCDEF"_s;

} // namespace

/// Where backups may lie, and what lies there already.
class TestPlaces : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() {
        interception().withoutExchange = false;
        interception().renameFailure = {};
        interception().isWithoutLinks = {};
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
                     u"That folder holds data kept from before a restore or an update. Choose another place."_s);
            QVERIFY(QFileInfo::exists(folder.backups(name)));
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
        QVERIFY2(message.contains(u"must not lie inside each other"), qPrintable(message));
        QCOMPARE(messageOf(BackupManager::autoBackup(folder.data(), folder.data(u"Backups"_s), u"x"_s)),
                 u"The Backups folder must not lie inside the data folder."_s);
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

    void leftoversOfACrashGoAndNothingElse() {
        const DataFolder folder;
        folder.fill();
        QDir().mkpath(folder.path(u"outside"_s));
        folder.write(leftover + u"/copy/kuma.db"_s, "half");
        const QStringList others{u".orvanel-notes/file"_s, u".orvanel-01234567-89ab-cdef-0123-456789abcdef/file"_s,
                                 u".orvanel-01234567-89AB-CDEF-0123-456789ABCDEF.txt/file"_s,
                                 u"orvanel-01234567-89AB-CDEF-0123-456789ABCDE0/file"_s};
        for (const QString& name : others) {
            folder.write(name, "another's");
        }
        folder.write(u".orvanel-11111111-89AB-CDEF-0123-456789ABCDEF"_s, "a file");
        QVERIFY(
            QFile::link(folder.path(u"outside"_s), folder.path(u".orvanel-22222222-89AB-CDEF-0123-456789ABCDEF"_s)));
        const auto before = folder.names();
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QStringList after = folder.names();
        QVERIFY(!after.contains(leftover));
        QVERIFY(after.removeOne(u"copy"_s));
        after << leftover;
        QCOMPARE(QSet<QString>(after.begin(), after.end()), QSet<QString>(before.begin(), before.end()));
    }

    void theFolderOfARunAtWorkIsLeftAlone() {
        const DataFolder folder;
        folder.fill();
        const WorkFolder other(folder.path());
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QVERIFY(QFileInfo(other.path()).isDir());
    }

    void whatACrashTookAwayComesBack_data() {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QStringList>("expected");
        const QString old = leftover + u"/replaced/copy/kuma.db"_s;
        const QString fresh = leftover + u"/fresh/kuma.db"_s;
        const QString note = leftover + u"/swapping"_s;
        QTest::newRow("between the steps") << QStringList{note, old, fresh} << QStringList{u"copy/kuma.db"_s};
        QTest::newRow("another one is there by now")
            << QStringList{note, old, fresh, u"copy/another"_s} << QStringList{u"copy/another"_s, u"copy-2/kuma.db"_s};
        QTest::newRow("and more of them") << QStringList{note, old, fresh, u"copy/another"_s, u"copy-2/another"_s}
                                          << QStringList{u"copy/another"_s, u"copy-2/another"_s, u"copy-3/kuma.db"_s};
        QTest::newRow("after both") << QStringList{note, old, u"copy/new"_s} << QStringList{u"copy/new"_s};
        QTest::newRow("after both, and the disk forgot the second")
            << QStringList{note, old} << QStringList{u"copy/kuma.db"_s};
        QTest::newRow("before the first") << QStringList{note, fresh, u"copy/old"_s} << QStringList{u"copy/old"_s};
        QTest::newRow("not noted") << QStringList{old, fresh} << QStringList();
    }

    void whatACrashTookAwayComesBack() {
        QFETCH(const QStringList, files);
        QFETCH(QStringList, expected);
        const DataFolder folder;
        folder.fill();
        for (const QString& file : files) {
            folder.write(file, file.endsWith(u"/swapping") ? "fresh/copy" : "a file");
        }
        await(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s)));
        const QStringList found = describe(folder.path()).keys().filter(QRegularExpression(u"^copy[^.]*/"_s));
        expected.sort();
        QCOMPARE(found, expected);
        QVERIFY(!QFileInfo::exists(folder.path(leftover)));
    }

    /// Whoever unpacks an archive at a place has whatever folders it holds there.
    void whatOnlyLooksLikeALeftoverMovesNothing_data() {
        QTest::addColumn<QString>("note");
        QTest::newRow("no note") << QString();
        QTest::newRow("the name of a file there") << u"fresh/precious"_s;
        QTest::newRow("a path") << u"fresh/../outside/precious"_s;
        QTest::newRow("the folder above") << u"fresh/.."_s;
        QTest::newRow("no sense") << u"precious"_s;
    }

    void whatOnlyLooksLikeALeftoverMovesNothing() {
        QFETCH(const QString, note);
        const DataFolder folder;
        folder.fill();
        folder.write(u"outside/precious"_s, "precious");
        folder.write(u"place/"_s + leftover + u"/fresh"_s, "");
        folder.write(u"place/"_s + leftover + u"/swapping"_s, note.toUtf8());
        QVERIFY(QFile::link(folder.path(u"outside"_s), folder.path(u"place/"_s + leftover + u"/replaced"_s)));
        await(BackupManager::backUp(folder.data(), folder.path(u"place/copy"_s)));
        QCOMPARE(folder.names(u"place"_s), QStringList{u"copy"_s});
        QCOMPARE(folder.names(u"outside"_s), QStringList{u"precious"_s});
    }

    void whatCannotBeUnderstoodStays() {
        const DataFolder folder;
        folder.fill();
        folder.write(leftover + u"/swapping"_s, "");
        folder.write(leftover + u"/replaced/copy/kuma.db"_s, "the old backup");
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(folder.read(leftover + u"/replaced/copy/kuma.db"_s), QByteArray("the old backup"));
    }

    /// As on a stick that every system can read.
    void diskWithoutLinksTakesAZip() {
        const DataFolder folder;
        folder.fill();
        QDir().mkpath(folder.path(u"stick"_s));
        interception().isWithoutLinks = [stick = folder.path(u"stick"_s).toStdString()](const std::string& at) {
            return at.starts_with(stick);
        };
        const QString message = messageOf(BackupManager::backUp(folder.data(), folder.path(u"stick/copy"_s)));
        const QString start = u"The disk cannot hold links, such as "_s + folder.data();
        QVERIFY2(message.startsWith(start) && message.endsWith(u". A zip file can."), qPrintable(message));
        await(BackupManager::backUp(folder.data(), folder.path(u"stick/copy.zip"_s)));
        QCOMPARE(folder.names(u"stick"_s), QStringList{u"copy.zip"_s});
        QCOMPARE(folder.names(u"Orvanel"_s), QStringList{u"data"_s});
        const QString back = folder.path(u"back"_s);
        await(BackupManager::restore(folder.path(u"stick/copy.zip"_s), back, folder.backups()));
        QCOMPARE(describe(back).keys(), describe(folder.data()).keys());
        QCOMPARE(describe(back).value(u"icon.png"_s), u"link to upload/logo1.png"_s);
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
        const QString start = folder.path(u"copy"_s) + u": Input/output error. What was there is now in "_s;
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
};

QTEST_GUILESS_MAIN(TestPlaces)
#include "TestPlaces.moc"
