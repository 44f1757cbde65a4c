#include "backup/BackupManager.h"

#include "DataFolder.h"
#include "Interception.h"
#include "Message.h"
#include "support/TestClass.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

const QString leftover = u".orvanel-01234567-89AB-CDEF-0123-456789ABCDEF"_s;

/// A zip archive stores dates in whole seconds only.
QMap<QString, QString> inSeconds(QMap<QString, QString> entries) {
    for (QString& entry : entries) {
        entry.replace(QRegularExpression(u"(\\d{10})\\.\\d+"_s), u"\\1"_s);
    }
    return entries;
}

/// Makes an archiver that records its arguments and then does `action`. Returns the path of the record.
QString makeDitto(const DataFolder& folder, const QByteArray& action) {
    const QString tool = u"root/usr/bin/ditto"_s;
    const QByteArray log = QFile::encodeName(folder.path(u"calls"_s));
    folder.write(tool, "#!/bin/sh\nprintf '%s\\n' \"$@\" >>'" + log + "'\n" + action);
    QFile::setPermissions(folder.path(tool), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    qputenv("ORVANEL_TOOL_ROOT", QFile::encodeName(folder.path(u"root"_s)));
    return folder.path(u"calls"_s);
}

} // namespace

class TestRestore : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() {
        qunsetenv("ORVANEL_TOOL_ROOT");
        interception().onStep = {};
        interception().writeFailure = {};
    }

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
        QCOMPARE(difference(inSeconds(old), inSeconds(describe(folder.data()))), QString());
        QCOMPARE(folder.kept().size(), 1);
    }

    void cancelLeavesEverythingAsItWasUntilTheDataIsMoved_data() {
        QTest::addColumn<QString>("name");
        QTest::newRow("folder") << u"copy"_s;
        QTest::newRow("zip") << u"copy.zip"_s;
    }

    /// Cancels before each system call that changes files, one restore for each.
    void cancelLeavesEverythingAsItWasUntilTheDataIsMoved() {
        QFETCH(const QString, name);
        int cancelled = 0;
        int completed = 0;
        for (int at = 1; completed == 0 || interception().steps >= at; ++at) {
            const DataFolder folder;
            folder.fill();
            await(BackupManager::backUp(folder.data(), folder.path(name)));
            folder.write(u"Orvanel/data/new"_s, "made since");
            const auto before = describe(folder.data());
            std::stop_source stop;
            interception().steps = 0;
            // The note of a restore is made and written just before the data is moved.
            std::atomic<int> noted{0};
            interception().writeFailure = [&noted](const std::string& path) {
                if (path.ends_with("/restoring")) {
                    noted = interception().steps.load();
                }
                return 0;
            };
            interception().onStep = [&stop, at](int step) {
                if (step == at) {
                    stop.request_stop();
                }
            };
            bool isCancelled = false;
            try {
                await(BackupManager::restore(folder.path(name), folder.data(), folder.backups(), stop.get_token()));
            } catch (const Cancelled&) {
                isCancelled = true;
            }
            interception().onStep = {};
            interception().writeFailure = {};
            QVERIFY2(isCancelled || at >= noted - 1, qPrintable(u"%1 of %2"_s.arg(at).arg(noted.load())));
            (isCancelled ? cancelled : completed) += 1;
            QCOMPARE(folder.kept().size(), isCancelled ? 0 : 1);
            QCOMPARE(QFileInfo::exists(folder.data(u"new"_s)), isCancelled);
            if (isCancelled) {
                QCOMPARE(difference(before, describe(folder.data())), QString());
            }
            // Nothing is left behind.
            QStringList names = folder.names(u"Orvanel"_s);
            names.removeAll(u"Backups"_s);
            QCOMPARE(names, QStringList(u"data"_s));
        }
        QVERIFY2(cancelled > 10, qPrintable(QString::number(cancelled)));
        QVERIFY2(completed > 1, qPrintable(QString::number(completed)));
    }

    void dataAtTheTopOfTheZipComesBack() {
        const DataFolder folder;
        folder.fill();
        const QString zip = folder.path(u"top.zip"_s);
        QCOMPARE(runTool(u"bsdtar"_s, {u"-c"_s, u"--format"_s, u"zip"_s, u"-f"_s, zip, u"-C"_s, folder.data(), u"."_s}),
                 QString());
        await(BackupManager::restore(zip, folder.path(u"back"_s), folder.backups()));
        QCOMPARE(describe(folder.path(u"back"_s)).keys(), describe(folder.data()).keys());
    }

    void foreignFolderBesideTheDataIsIgnored() {
        const DataFolder folder;
        folder.write(u"pack/__MACOSX/kuma.db"_s, "not this");
        folder.write(u"pack/.hidden/db-config.json"_s, "this");
        const QString zip = folder.path(u"pack.zip"_s);
        QCOMPARE(runTool(u"bsdtar"_s, {u"-c"_s, u"--format"_s, u"zip"_s, u"-f"_s, zip, u"-C"_s, folder.path(u"pack"_s),
                                       u"__MACOSX"_s, u".hidden"_s}),
                 QString());
        await(BackupManager::restore(zip, folder.data(), folder.backups()));
        QCOMPARE(folder.names(u"Orvanel/data"_s), QStringList{u"db-config.json"_s});
        QCOMPARE(folder.read(u"Orvanel/data/db-config.json"_s), QByteArray("this"));
    }

    void whatACrashUnpackedIsRemoved() {
        const DataFolder folder;
        folder.fill();
        folder.write(u"tmp/orv-restore-01234567-89AB-CDEF-0123-456789ABCDEF/data/kuma.db"_s, "half");
        folder.write(u"tmp/orv-restore-me/file"_s, "another's");
        await(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s)));
        qputenv("TMPDIR", QFile::encodeName(folder.path(u"tmp"_s)));
        await(BackupManager::restore(folder.path(u"copy.zip"_s), folder.data(), folder.backups()));
        qunsetenv("TMPDIR");
        QCOMPARE(folder.names(u"tmp"_s), QStringList{u"orv-restore-me"_s});
    }

    void dittoIsUsedWhereItIs() {
        const DataFolder folder;
        folder.fill();
        const QString log = makeDitto(folder, R"(
            if [ "$1" = -c ]; then exec bsdtar -c --format zip -f "$5" -C "${4%/*}" "${4##*/}"; fi
            exec bsdtar -xpf "$3" -C "$4")");
        const QString zip = folder.path(u"copy.zip"_s);
        await(BackupManager::backUp(folder.data(), zip));
        await(BackupManager::restore(zip, folder.path(u"back"_s), folder.backups()));
        QCOMPARE(difference(inSeconds(describe(folder.data())), inSeconds(describe(folder.path(u"back"_s)))),
                 QString());
        const QStringList words = QString::fromUtf8(folder.read(u"calls"_s)).split(u'\n');
        QCOMPARE(words.mid(0, 3), (QStringList{u"-c"_s, u"-k"_s, u"--keepParent"_s}));
        QVERIFY(words.value(3).endsWith(u"/data"));
        QVERIFY(words.value(4).startsWith(folder.path(u".orvanel-"_s)));
        QCOMPARE(words.mid(5, 3), (QStringList{u"-x"_s, u"-k"_s, zip}));
        QVERIFY(words.value(8).contains(u"/orv-restore-"));
        QVERIFY(QFileInfo::exists(log));
    }

    void wordsOfTheToolAreShown() {
        const DataFolder folder;
        folder.fill();
        folder.write(u"copy.zip"_s, "PK, the old backup");
        const auto before = describe(folder.data());
        makeDitto(folder, "echo 'ditto: no'; exit 3");
        QCOMPARE(messageOf(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s))),
                 u"Could not create the zip file. ditto: no\n"_s);
        QCOMPARE(messageOf(BackupManager::restore(folder.path(u"copy.zip"_s), folder.data(), folder.backups())),
                 u"Could not open the zip file. ditto: no\n"_s);
        // A tool that reports success without doing anything is not believed.
        makeDitto(folder, ": >\"$5\"");
        QCOMPARE(messageOf(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s))),
                 u"Could not create the zip file. Some files are missing from it."_s);
        QCOMPARE(folder.read(u"copy.zip"_s), QByteArray("PK, the old backup"));
        QCOMPARE(difference(before, describe(folder.data())), QString());
        QVERIFY(folder.names().filter(u".orvanel"_s).isEmpty());
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

    void anEmptyFolderDoesNotPushOutTheKeptData() {
        const DataFolder folder;
        QDir().mkpath(folder.data());
        folder.write(u"Orvanel/Backups/before-restore-2020-01-01-000000/kuma.db"_s, "the only copy");
        folder.write(u"copy/kuma.db"_s, "restored");
        await(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups()));
        QCOMPARE(folder.read(u"Orvanel/Backups/before-restore-2020-01-01-000000/kuma.db"_s),
                 QByteArray("the only copy"));
        // They are removed once there is something better to keep.
        await(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups()));
        QCOMPARE(folder.kept().size(), 1);
    }

    void killedRestoreIsTakenBack_data() {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QString>("data");
        QTest::addColumn<QStringList>("kept");
        const auto kept = u"before-restore-2026-01-02-030405"_s;
        const QString fresh = leftover + u"/data/kuma.db"_s;
        const QString old = u"Backups/"_s + kept + u"/kuma.db"_s;
        QTest::newRow("before the first step")
            << QStringList{u"data/kuma.db"_s, fresh} << u"data/kuma.db"_s << QStringList();
        QTest::newRow("between the steps") << QStringList{old, fresh} << old << QStringList();
        QTest::newRow("between the steps, and the folder was made")
            << QStringList{old, fresh, u"data/"_s} << old << QStringList();
        QTest::newRow("between the steps, and a server has filled it")
            << QStringList{old, fresh, u"data/kuma.db"_s} << u"data/kuma.db"_s
            << QStringList{u"before-interrupted-restore-2026-01-02-030405"_s};
        QTest::newRow("after both") << QStringList{old, u"data/kuma.db"_s} << u"data/kuma.db"_s << QStringList{kept};
        QTest::newRow("after both, and the disk forgot the second") << QStringList{old} << old << QStringList();
    }

    void killedRestoreIsTakenBack() {
        QFETCH(const QStringList, files);
        QFETCH(const QString, data);
        QFETCH(const QStringList, kept);
        const DataFolder folder;
        QDir().mkpath(folder.backups());
        folder.write(u"Orvanel/"_s + leftover + u"/restoring"_s, "data/before-restore-2026-01-02-030405");
        for (const QString& file : files) {
            if (file.endsWith(u'/')) {
                QDir().mkpath(folder.path(u"Orvanel/"_s + file));
            } else {
                folder.write(u"Orvanel/"_s + file, file.toUtf8());
            }
        }
        // A backup that comes first must not remove what only recover() can deal with.
        folder.write(u"elsewhere/kuma.db"_s, "");
        await(BackupManager::backUp(folder.path(u"elsewhere"_s), folder.path(u"Orvanel/copy"_s)));
        for (int round = 0; round < 2; ++round) {
            BackupManager::recover(folder.data(), folder.backups());
            QCOMPARE(folder.read(u"Orvanel/data/kuma.db"_s), data.toUtf8());
            QCOMPARE(folder.kept(), kept);
        }
        await(BackupManager::backUp(folder.path(u"elsewhere"_s), folder.path(u"Orvanel/copy"_s)));
        QVERIFY(!QFileInfo::exists(folder.path(u"Orvanel/"_s + leftover)));
    }

    void killedRestoreOfALinkedFolderIsTakenBack() {
        const DataFolder folder;
        QDir().mkpath(folder.path(u"large disk"_s));
        QVERIFY(QFile::link(u"../large disk/data"_s, folder.data()));
        folder.write(u"large disk/"_s + leftover + u"/restoring"_s, "data/before-restore-2026-01-02-030405");
        folder.write(u"Orvanel/Backups/before-restore-2026-01-02-030405/kuma.db"_s, "kept");
        BackupManager::recover(folder.data(), folder.backups());
        QCOMPARE(folder.read(u"large disk/data/kuma.db"_s), QByteArray("kept"));
        QVERIFY(QFileInfo(folder.data()).isSymLink());
    }

    void linkToNothingIsFilled() {
        const DataFolder folder;
        QDir().mkpath(folder.path(u"large disk"_s));
        QVERIFY(QFile::link(u"../large disk/data"_s, folder.data()));
        folder.write(u"copy/kuma.db"_s, "restored");
        await(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups()));
        QCOMPARE(folder.read(u"large disk/data/kuma.db"_s), QByteArray("restored"));
        QVERIFY(QFileInfo(folder.data()).isSymLink());
    }

    void noteThatNamesAnythingElseMovesNothing() {
        for (const char* const note : {"data/../../precious", "data/precious", "../precious", "", "data/..", "/"}) {
            const DataFolder folder;
            folder.write(u"Orvanel/Backups/precious/kuma.db"_s, "precious");
            folder.write(u"precious/kuma.db"_s, "precious");
            folder.write(u"Orvanel/"_s + leftover + u"/restoring"_s, note);
            BackupManager::recover(folder.data(), folder.backups());
            QVERIFY(!QFileInfo::exists(folder.data()));
            QCOMPARE(folder.kept(), QStringList{u"precious"_s});
            QVERIFY(QFileInfo::exists(folder.path(u"precious/kuma.db"_s)));
        }
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

ORVANEL_TEST(TestRestore)
#include "TestRestore.moc"
