#include "backup/BackupManager.h"
#include "backup/WorkFolder.h"

#include "DataFolder.h"
#include "Interception.h"
#include "Message.h"
#include "support/TestClass.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <cerrno>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

const QString leftover = u".orvanel-01234567-89AB-CDEF-0123-456789ABCDEF"_s;
const QString restoring = u"Orvanel/"_s + leftover + u"/restoring"_s;
const QString kept = u"before-restore-2026-01-02-030405"_s;
const QByteArray restoreNote = "data/before-restore-2026-01-02-030405";

} // namespace

/// What a crashed run left: what it had taken away comes back, the rest is removed, and nothing else is touched.
class TestRecovery : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() {
        qunsetenv("TMPDIR");
        interception().renameFailure = {};
        interception().openFailure = {};
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

    void leftoversInTheTemporaryFolderGo() {
        const DataFolder folder;
        folder.fill();
        const auto id = u"01234567-89AB-CDEF-0123-456789ABCDEF/kuma.db"_s;
        for (const QString& prefix : {u"orv-restore-"_s, u"orv-check-"_s, u"orv-other-"_s}) {
            folder.write(u"tmp/"_s + prefix + id, "half");
        }
        folder.write(u"tmp/orv-check-mine/kuma.db"_s, "another's");
        qputenv("TMPDIR", QFile::encodeName(folder.path(u"tmp"_s)));
        await(BackupManager::cleanUp(folder.data(), folder.backups()));
        QCOMPARE(folder.names(u"tmp"_s),
                 (QStringList{u"orv-check-mine"_s, u"orv-other-01234567-89AB-CDEF-0123-456789ABCDEF"_s}));
    }

    /// A file in there that looks like a note may come from an archive.
    void deletionThatWasInterruptedIsFinished() {
        const DataFolder folder;
        folder.fill();
        const QString discarded = u"Orvanel/Backups/.orvanel-discarded-01234567-89AB-CDEF-0123-456789ABCDEF"_s;
        folder.write(discarded + u"/kuma.db"_s, "half");
        folder.write(discarded + u"/swapping"_s, "fresh/before-restore-2020-01-01-000000");
        folder.write(discarded + u"/replaced/before-restore-2020-01-01-000000/kuma.db"_s, "evil");
        folder.write(u"Orvanel/Backups/.orvanel-discarded-mine/kuma.db"_s, "another's");
        await(BackupManager::cleanUp(folder.data(), folder.backups()));
        QCOMPARE(folder.kept(), QStringList{u".orvanel-discarded-mine"_s});
    }

    void placeOfABackupIsCleanedUpWhenItIsInReach() {
        const DataFolder folder;
        folder.fill();
        const QString note = u"Orvanel/.orvanel-place-01234567-89AB-CDEF-0123-456789ABCDEF"_s;
        folder.write(note, QFile::encodeName(folder.path(u"stick"_s)));
        await(BackupManager::cleanUp(folder.data(), folder.backups()));
        QVERIFY(QFileInfo::exists(folder.path(note)));
        folder.write(u"stick/"_s + leftover + u"/copy/kuma.db"_s, "half");
        folder.write(u"stick/other"_s, "another's");
        await(BackupManager::cleanUp(folder.data(), folder.backups()));
        QCOMPARE(folder.names(u"stick"_s), QStringList{u"other"_s});
        QVERIFY(!QFileInfo::exists(folder.path(note)));
    }

    /// A zip for a disk without links is prepared beside the data.
    void leftoversBesideTheDataGoAsWell_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("folder") << u"copy"_s;
        QTest::newRow("zip") << u"copy.zip"_s;
        QTest::newRow("automatic") << QString();
    }

    void leftoversBesideTheDataGoAsWell() {
        QFETCH(const QString, name);
        const DataFolder folder;
        folder.fill();
        folder.write(u"Orvanel/"_s + leftover + u"/to pack/data/kuma.db"_s, "half");
        if (name.isEmpty()) {
            await(BackupManager::autoBackup(folder.data(), folder.backups(), u"before-update"_s));
        } else {
            await(BackupManager::backUp(folder.data(), folder.path(name)));
        }
        QVERIFY(!QFileInfo::exists(folder.path(u"Orvanel/"_s + leftover)));
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
        QTest::newRow("an empty folder is there by now")
            << QStringList{note, old, fresh, u"copy/"_s} << QStringList{u"copy/kuma.db"_s};
        QTest::newRow("a file is there by now")
            << QStringList{note, old, fresh, u"copy"_s} << QStringList{u"copy-2/kuma.db"_s};
        QTest::newRow("after both, and the disk forgot the second, and an empty folder is there by now")
            << QStringList{note, old, u"copy/"_s} << QStringList{u"copy/kuma.db"_s};
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
            if (file.endsWith(u'/')) {
                QDir().mkpath(folder.path(file));
            } else {
                folder.write(file, file.endsWith(u"/swapping") ? "fresh/copy" : "a file");
            }
        }
        await(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s)));
        const QStringList found = describe(folder.path()).keys().filter(QRegularExpression(u"^copy[^.]*/"_s));
        expected.sort();
        QCOMPARE(found, expected);
        QVERIFY(!QFileInfo::exists(folder.path(leftover)));
    }

    /// An archive that was unpacked at a place may contain any folder.
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

    /// If the name were cut at its NUL, adding a number would not change it.
    void noteWithANulMovesNothing() {
        const DataFolder folder;
        folder.fill();
        folder.write(leftover + u"/swapping"_s, QByteArray("f/x\0y", 5));
        folder.write(leftover + u"/f"_s, "fresh");
        folder.write(leftover + u"/replaced/x"_s, "old");
        folder.write(u"x"_s, "another");
        int tries = 0;
        interception().renameFailure = [&](const std::string& from, const std::string&) {
            tries += from == "x" ? 1 : 0;
            return tries > 0 ? EIO : 0;
        };
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(tries, 0);
        QCOMPARE(folder.read(leftover + u"/replaced/x"_s), QByteArray("old"));
        QVERIFY(QFileInfo::exists(folder.path(u"copy/kuma.db"_s)));
    }

    void searchForAFreeNameEnds() {
        const DataFolder folder;
        folder.fill();
        folder.write(leftover + u"/swapping"_s, "f/x");
        folder.write(leftover + u"/f"_s, "fresh");
        folder.write(leftover + u"/replaced/x"_s, "old");
        int tries = 0;
        interception().renameFailure = [&](const std::string& from, const std::string&) {
            return from == "x" && ++tries < 5000 ? EEXIST : 0;
        };
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(tries, 1000);
        QCOMPARE(folder.read(leftover + u"/replaced/x"_s), QByteArray("old"));
        QVERIFY(QFileInfo::exists(folder.path(u"copy/kuma.db"_s)));
    }

    /// Data that cannot be reached now may still be there.
    void keptDataThatCannotBeReachedNowComesBackLater() {
        const DataFolder folder;
        folder.write(restoring, restoreNote);
        folder.write(u"elsewhere/"_s + kept + u"/kuma.db"_s, "kept");
        QVERIFY(QFile::link(folder.backups(), folder.backups()));
        BackupManager::recover(folder.data(), folder.backups());
        QVERIFY(QFileInfo::exists(folder.path(restoring)));
        QVERIFY(QFile::remove(folder.backups()));
        QVERIFY(QDir().rename(folder.path(u"elsewhere"_s), folder.backups()));
        BackupManager::recover(folder.data(), folder.backups());
        QCOMPARE(folder.read(u"Orvanel/data/kuma.db"_s), QByteArray("kept"));
    }

    /// The order in which they are read must not matter.
    void oneThatCannotBeReadDoesNotHideTheOthers_data() {
        QTest::addColumn<int>("unreadable");
        QTest::newRow("the first") << 1;
        QTest::newRow("the second") << 2;
    }

    void oneThatCannotBeReadDoesNotHideTheOthers() {
        QFETCH(const int, unreadable);
        const DataFolder folder;
        folder.write(restoring, restoreNote);
        folder.write(u"Orvanel/.orvanel-11111111-89AB-CDEF-0123-456789ABCDEF/restoring"_s, restoreNote);
        folder.write(u"Orvanel/Backups/"_s + kept + u"/kuma.db"_s, "kept");
        int looks = 0;
        interception().openFailure = [&](const std::string& name) {
            return name == "restoring" && ++looks == unreadable ? EIO : 0;
        };
        BackupManager::recover(folder.data(), folder.backups());
        QCOMPARE(looks, 2);
        QCOMPARE(folder.read(u"Orvanel/data/kuma.db"_s), QByteArray("kept"));
    }

    void keptDataThatCannotComeBackNowIsNotPruned() {
        const DataFolder folder;
        folder.fill();
        folder.write(restoring, restoreNote);
        folder.write(u"Orvanel/"_s + leftover + u"/data/kuma.db"_s, "not put in place");
        folder.write(u"Orvanel/Backups/"_s + kept + u"/kuma.db"_s, "kept");
        folder.write(u"earlier/kuma.db"_s, "of an earlier time");
        interception().renameFailure = [](const std::string&, const std::string& to) {
            return to.find("/before-interrupted-restore-") != std::string::npos ? EIO : 0;
        };
        await(BackupManager::restore(folder.path(u"earlier"_s), folder.data(), folder.backups()));
        interception().renameFailure = {};
        QCOMPARE(folder.read(u"Orvanel/Backups/"_s + kept + u"/kuma.db"_s), QByteArray("kept"));
        // Once the kept data has a name of its own, restores work as usual.
        await(BackupManager::restore(folder.path(u"earlier"_s), folder.data(), folder.backups()));
        QCOMPARE(folder.read(u"Orvanel/Backups/before-interrupted-restore-2026-01-02-030405/kuma.db"_s),
                 QByteArray("kept"));
        QCOMPARE(folder.kept().size(), 2);
    }

    void keptDataThatIsGoneIsWaitedForNoLonger() {
        const DataFolder folder;
        folder.write(restoring, restoreNote);
        BackupManager::recover(folder.data(), folder.backups());
        QVERIFY(!QFileInfo::exists(folder.path(restoring)));
    }

    void noteThatCannotBeReadNowCountsLater_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("of a restore") << u"restoring"_s;
        QTest::newRow("of a swap") << u"swapping"_s;
    }

    void noteThatCannotBeReadNowCountsLater() {
        QFETCH(const QString, name);
        const DataFolder folder;
        folder.write(u"elsewhere/kuma.db"_s, "");
        folder.write(u"Orvanel/"_s + leftover + u"/"_s + name, name == u"restoring" ? restoreNote : "fresh/data");
        folder.write(name == u"restoring" ? u"Orvanel/Backups/"_s + kept + u"/kuma.db"_s
                                          : u"Orvanel/"_s + leftover + u"/replaced/data/kuma.db"_s,
                     "kept");
        interception().openFailure = [&](const std::string& path) { return path == name.toStdString() ? EIO : 0; };
        BackupManager::recover(folder.data(), folder.backups());
        await(BackupManager::backUp(folder.path(u"elsewhere"_s), folder.path(u"Orvanel/copy"_s)));
        QVERIFY(!QFileInfo::exists(folder.data()));
        interception().openFailure = {};
        BackupManager::recover(folder.data(), folder.backups());
        QCOMPARE(folder.read(u"Orvanel/data/kuma.db"_s), QByteArray("kept"));
    }
};

ORVANEL_TEST(TestRecovery)
#include "TestRecovery.moc"
