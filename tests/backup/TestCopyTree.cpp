#include "backup/BackupManager.h"
#include "backup/CopyTree.h"
#include "backup/RemoveTree.h"

#include "DataFolder.h"
#include "Interception.h"
#include "Message.h"
#include "support/FilePermissions.h"
#include "support/TestClass.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/xattr.h>
#include <thread>
#include <unistd.h>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

QByteArray name(const QString& path) {
    return QFile::encodeName(path);
}

struct stat statusAt(const QString& path) {
    struct stat status {};
    if (::lstat(name(path).constData(), &status) != 0) {
        qFatal("nothing at %s", qPrintable(path));
    }
    return status;
}

QString copyMessage(const QString& source, const QString& target, const CopyOptions& options = {}) {
    try {
        copyTree(source, target, options);
    } catch (const AppError& error) {
        return error.message();
    }
    return u"none"_s;
}

} // namespace

/// The copy of a folder, and what can get in its way.
class TestCopyTree : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// Called before there are other threads: rights belong to a thread, and threads started later inherit them.
    void initTestCase() { obeyFilePermissions(); }

    void pipesSocketsAndDevicesAreLeftOut() {
        const DataFolder folder;
        folder.fill();
        QCOMPARE(::mkfifo(name(folder.data(u"pipe"_s)).constData(), 0600), 0);
        const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
        const QByteArray path = name(folder.data(u"socket"_s));
        QVERIFY(static_cast<std::size_t>(path.size()) < sizeof address.sun_path);
        std::copy(path.begin(), path.end(), address.sun_path);
        QCOMPARE(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        for (const QString& destination : {u"copy"_s, u"copy.zip"_s}) {
            await(BackupManager::backUp(folder.data(), folder.path(destination)));
        }
        ::close(socket);
        QStringList expected = describe(folder.data()).keys();
        expected.removeOne(u"pipe"_s);
        expected.removeOne(u"socket"_s);
        QCOMPARE(describe(folder.path(u"copy"_s)).keys(), expected);
        await(BackupManager::restore(folder.path(u"copy.zip"_s), folder.data(), folder.backups()));
        QCOMPARE(describe(folder.data()).keys(), expected);
    }

    void pipeInTheDatabasesPlaceHoldsNobodyUpAndIsTold() {
        const DataFolder folder;
        folder.write(u"Orvanel/data/db-config.json"_s, "{}");
        QCOMPARE(::mkfifo(name(folder.data(u"kuma.db"_s)).constData(), 0600), 0);
        const auto result = await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(folder.names(u"copy"_s), QStringList{u"db-config.json"_s});
        QCOMPARE(result.databaseProblem, u"kuma.db is not a file, so the backup does not contain it."_s);
    }

    void folderInTheDatabasesPlaceComesAlong() {
        const DataFolder folder;
        folder.write(u"Orvanel/data/kuma.db/inner"_s, "in it");
        const auto result = await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(difference(folder.data(), folder.path(u"copy"_s)), QString());
        QCOMPARE(result.databaseProblem, u"kuma.db is a folder, so the database was not checked."_s);
    }

    void holesStayHoles() {
        const DataFolder folder;
        folder.write(u"from/sparse"_s, "at the beginning");
        constexpr off_t size = off_t{5} << 30;
        const int file = ::open(name(folder.path(u"from/sparse"_s)).constData(), O_WRONLY | O_CLOEXEC);
        QCOMPARE(::ftruncate(file, size), 0);
        QCOMPARE(::pwrite(file, "in the middle", 13, size / 2), ssize_t{13});
        ::close(file);
        QElapsedTimer time;
        time.start();
        copyTree(folder.path(u"from"_s), folder.path(u"to"_s));
        QVERIFY2(time.elapsed() < 5000, qPrintable(QString::number(time.elapsed())));
        const auto status = statusAt(folder.path(u"to/sparse"_s));
        QCOMPARE(status.st_size, size);
        QVERIFY(status.st_blocks < 1000);
        QFile copy(folder.path(u"to/sparse"_s));
        QVERIFY(copy.open(QIODevice::ReadOnly));
        QCOMPARE(copy.read(16), QByteArray("at the beginning"));
        QVERIFY(copy.seek(size / 2));
        QCOMPARE(copy.read(13), QByteArray("in the middle"));
    }

    void diskThatFailsBetweenTheHolesIsNoHole() {
        const DataFolder folder;
        folder.write(u"from/sparse"_s, "at the beginning");
        constexpr off_t size = off_t{8} << 20;
        const int file = ::open(name(folder.path(u"from/sparse"_s)).constData(), O_WRONLY | O_CLOEXEC);
        QCOMPARE(::ftruncate(file, size), 0);
        QCOMPARE(::pwrite(file, "in the middle", 13, size / 2), ssize_t{13});
        ::close(file);
        bool isAsked = false;
        interception().seekFailure = [&isAsked](off_t from) {
            isAsked = isAsked || from > 0;
            return from > 0 ? EIO : 0;
        };
        const QString message = copyMessage(folder.path(u"from"_s), folder.path(u"to"_s));
        interception().seekFailure = {};
        if (!isAsked) {
            QSKIP("This file system clones files or does not support holes.");
        }
        QCOMPARE(message, folder.path(u"from/sparse"_s) + u": Input/output error"_s);
    }

    void hardLinksAttributesAndDatesComeAlong() {
        const DataFolder folder;
        folder.fill();
        QCOMPARE(::link(name(folder.data(u"kuma.db"_s)).constData(), name(folder.data(u"upload/second"_s)).constData()),
                 0);
        QCOMPARE(::link(name(folder.data(u".hidden"_s)).constData(), name(folder.data(u"upload/third"_s)).constData()),
                 0);
        const bool hasAttributes =
            ::setxattr(name(folder.data(u".hidden"_s)).constData(), "user.note", "kept", 4, 0) == 0;
        copyTree(folder.data(), folder.path(u"copy"_s));
        QCOMPARE(difference(folder.data(), folder.path(u"copy"_s)), QString());
        QCOMPARE(statusAt(folder.path(u"copy/kuma.db"_s)).st_ino,
                 statusAt(folder.path(u"copy/upload/second"_s)).st_ino);
        QCOMPARE(statusAt(folder.path(u"copy/.hidden"_s)).st_nlink, nlink_t{2});
        if (hasAttributes) {
            char value[8]{};
            QCOMPARE(::getxattr(name(folder.path(u"copy/.hidden"_s)).constData(), "user.note", value, sizeof value),
                     ssize_t{4});
        }
    }

    void datesComeAlongWherePermissionsDoNot() {
        const DataFolder folder;
        folder.fill();
        QCOMPARE(::chmod(name(folder.data(u"upload/logo1.png"_s)).constData(), 0640), 0);
        interception().modeFailure = [](const std::string&) { return EPERM; };
        copyTree(folder.data(), folder.path(u"copy"_s));
        interception().modeFailure = [](const std::string&) { return EIO; };
        const QString message = copyMessage(folder.data(), folder.path(u"other"_s));
        interception().modeFailure = {};
        QVERIFY2(message.endsWith(u": Input/output error"), qPrintable(message));
        for (const QString& entry : {u"/upload/logo1.png"_s, u"/docker-tls"_s}) {
            const auto source = statusAt(folder.data() + entry);
            const auto copy = statusAt(folder.path(u"copy"_s) + entry);
            QVERIFY(copy.st_mode != source.st_mode);
            QCOMPARE(copy.st_mtim.tv_sec, source.st_mtim.tv_sec);
            QCOMPARE(copy.st_mtim.tv_nsec, source.st_mtim.tv_nsec);
        }
    }

    void setUidBitsStayBehind() {
        const DataFolder folder;
        folder.write(u"from/program"_s, "x");
        QCOMPARE(::chmod(name(folder.path(u"from/program"_s)).constData(), 06755), 0);
        copyTree(folder.path(u"from"_s), folder.path(u"to"_s));
        QCOMPARE(statusAt(folder.path(u"to/program"_s)).st_mode & 07777, mode_t{0755});
    }

    void readOnlyFoldersComeAlongAndCanBeRemoved() {
        const DataFolder folder;
        folder.fill();
        QCOMPARE(::chmod(name(folder.data(u"upload"_s)).constData(), 0500), 0);
        QCOMPARE(::chmod(name(folder.data()).constData(), 0500), 0);
        for (int round = 0; round < 2; ++round) {
            await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
            QCOMPARE(difference(folder.data(), folder.path(u"copy"_s)), QString());
        }
        await(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups()));
        QCOMPARE(difference(folder.path(u"copy"_s), folder.data()), QString());
        QCOMPARE(difference(folder.data(), folder.backups(folder.kept().value(0))), QString());
        removeTree(folder.path(u"Orvanel"_s));
        removeTree(folder.path(u"copy"_s));
        QCOMPARE(folder.names(), QStringList());
    }

    void unreadableEntryIsNamedAndNothingChanges_data() {
        QTest::addColumn<QString>("entry");
        QTest::newRow("file") << u"upload/logo1.png"_s;
        QTest::newRow("database") << u"kuma.db"_s;
        QTest::newRow("folder") << u"docker-tls"_s;
    }

    void unreadableEntryIsNamedAndNothingChanges() {
        QFETCH(const QString, entry);
        const DataFolder folder;
        folder.fill();
        folder.write(u"copy/old"_s, "old");
        copyTree(folder.data(), folder.path(u"source"_s));
        const QString expected = entry + u": Permission denied"_s;

        QCOMPARE(::chmod(name(folder.path(u"source/"_s + entry)).constData(), 0), 0);
        const auto before = describe(folder.data());
        const QString restoring =
            messageOf(BackupManager::restore(folder.path(u"source"_s), folder.data(), folder.backups()));
        QVERIFY2(restoring.endsWith(expected), qPrintable(restoring));
        QCOMPARE(difference(before, describe(folder.data())), QString());
        QCOMPARE(folder.kept(), QStringList());

        QCOMPARE(::chmod(name(folder.data(entry)).constData(), 0), 0);
        const QString backingUp = messageOf(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QVERIFY2(backingUp.endsWith(expected), qPrintable(backingUp));
        QCOMPARE(folder.read(u"copy/old"_s), QByteArray("old"));
        QCOMPARE(folder.names().size(), 3);
        ::chmod(name(folder.data(entry)).constData(), 0700);
        ::chmod(name(folder.path(u"source/"_s + entry)).constData(), 0700);
    }

    void dataOfAnotherUserCannotBeMoved() {
        if (::geteuid() != 0) {
            QSKIP("Only root can give a folder to another user.");
        }
        const DataFolder folder;
        folder.fill();
        copyTree(folder.data(), folder.path(u"copy"_s));
        QCOMPARE(::chown(name(folder.data()).constData(), 65534, 65534), 0);
        const auto before = describe(folder.data());
        QCOMPARE(messageOf(BackupManager::restore(folder.path(u"copy"_s), folder.data(), folder.backups())),
                 u"The current data cannot be moved to the Backups folder, because it belongs to another user. "_s +
                     u"Nothing was changed."_s);
        QCOMPARE(difference(before, describe(folder.data())), QString());
        QCOMPARE(folder.kept(), QStringList());
    }

    void whereNothingMayBeMadeASentenceIsAll() {
        const DataFolder folder;
        folder.fill();
        QDir().mkpath(folder.path(u"locked"_s));
        QCOMPARE(::chmod(name(folder.path(u"locked"_s)).constData(), 0500), 0);
        const QString locked = folder.path(u"locked"_s);
        QCOMPARE(messageOf(BackupManager::backUp(folder.data(), locked + u"/copy"_s)),
                 locked + u": Permission denied"_s);
        QCOMPARE(messageOf(BackupManager::autoBackup(folder.data(), locked + u"/Backups"_s, u"x"_s)),
                 locked + u"/Backups: Permission denied"_s);
        QCOMPARE(messageOf(BackupManager::backUp(folder.data(), folder.path(u"nowhere/copy"_s))),
                 folder.path(u"nowhere"_s) + u": No such file or directory"_s);
    }

    void filesComeAndGoWhileTheyAreCopied() {
        const DataFolder folder;
        folder.fill();
        std::atomic<bool> isEnding = false;
        std::thread other([&] {
            for (int i = 0; !isEnding; ++i) {
                folder.write(u"Orvanel/data/upload/%1/file"_s.arg(i % 50), QByteArray(i % 1000, 'x'));
                folder.write(u"Orvanel/data/growing"_s, QByteArray(qsizetype{10} * i, 'x'));
                QDir(folder.data(u"upload/%1"_s.arg((i + 25) % 50))).removeRecursively();
            }
        });
        QStringList messages;
        for (int round = 0; round < 30; ++round) {
            messages << messageOf(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        }
        isEnding = true;
        other.join();
        QCOMPARE(messages.removeAll(u"none"_s), 30);
        QCOMPARE(folder.read(u"copy/upload/logo1.png"_s), QByteArray(300'000, 'p'));
        QCOMPARE(folder.names().size(), 2);
    }

    void whatIsRestoredMustAllBeThere() {
        const DataFolder folder;
        folder.fill();
        CopyOptions options;
        options.leaveOut = {"kuma.db"};
        options.copyRest = [&] { copyFiles(folder.data(), folder.path(u"copy"_s), {"kuma.db", "not there"}); };
        QCOMPARE(copyMessage(folder.data(), folder.path(u"copy"_s), options), u"none"_s);
        QCOMPARE(difference(folder.data(), folder.path(u"copy"_s)), QString());
        QCOMPARE(copyMessage(folder.data(), folder.path(u"copy"_s)), folder.path(u"copy"_s) + u": File exists"_s);
        QCOMPARE(copyMessage(folder.path(u"nowhere"_s), folder.path(u"other"_s)),
                 folder.path(u"nowhere"_s) + u": No such file or directory"_s);
    }

    void foldersWithoutEndAreRefusedAndRemoved() {
        const DataFolder folder;
        const QString here = QDir::currentPath();
        QDir().mkpath(folder.path(u"deep"_s));
        QVERIFY(QDir::setCurrent(folder.path(u"deep"_s)));
        int depth = 0;
        while (depth < 3000 && ::mkdir("inner", 0700) == 0 && ::chdir("inner") == 0) {
            ++depth;
        }
        QVERIFY(QDir::setCurrent(here));
        QCOMPARE(depth, 3000);
        const QString message = copyMessage(folder.path(u"deep"_s), folder.path(u"copy"_s));
        QVERIFY2(message.endsWith(u"File name too long"), qPrintable(message.right(100)));
        removeTree(folder.path(u"deep"_s));
        removeTree(folder.path(u"copy"_s));
        QCOMPARE(folder.names(), QStringList{u"Orvanel"_s});
    }

    /// A network disk may send what was written only when the file is closed.
    void copyThatCannotBeClosedIsNoCopy() {
        const DataFolder folder;
        folder.fill();
        const std::string copy = folder.path(u"copy/kuma.db"_s).toStdString();
        interception().closeFailure = [&](const std::string& path) { return path == copy ? EDQUOT : 0; };
        const QString message = copyMessage(folder.data(), folder.path(u"copy"_s));
        interception().closeFailure = {};
        QCOMPARE(message, folder.path(u"copy/kuma.db"_s) + u": Disk quota exceeded"_s);
    }

    /// Removing a deep tree moves its folders to the top, which is not possible for read-only folders as they are.
    void deepReadOnlyFoldersAreRemoved() {
        const DataFolder folder;
        const QString deep = folder.path(u"tree"_s) + u"/x"_s.repeated(40);
        for (int i = 0; i < 20; ++i) {
            const QString inner = deep + u"/%1"_s.arg(i);
            QVERIFY(QDir().mkpath(inner + u"/y"_s));
            QCOMPARE(::chmod(name(inner).constData(), i % 2 == 0 ? 0555 : 0755), 0);
        }
        removeTree(folder.path(u"tree"_s));
        QCOMPARE(folder.names(), QStringList{u"Orvanel"_s});
    }

    void linksAreRemovedAndNotFollowed() {
        const DataFolder folder;
        folder.write(u"outside/file"_s, "stays");
        QDir().mkpath(folder.path(u"tree/inner"_s));
        QVERIFY(QFile::link(folder.path(u"outside"_s), folder.path(u"tree/inner/link"_s)));
        QVERIFY(QFile::link(folder.path(u"outside"_s), folder.path(u"link"_s)));
        removeTree(folder.path(u"tree"_s));
        removeTree(folder.path(u"link"_s));
        removeTree(folder.path(u"nothing"_s));
        QCOMPARE(folder.read(u"outside/file"_s), QByteArray("stays"));
        QCOMPARE(folder.names().size(), 2);
    }

    void namesThatAreNoTextCannotGoIntoAZip() {
        const DataFolder folder;
        folder.fill();
        const QByteArray odd = name(folder.data()) + "/odd\xff\xfename";
        const int file = ::open(odd.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        ::close(file);
        await(BackupManager::backUp(folder.data(), folder.path(u"copy"_s)));
        QCOMPARE(::access((name(folder.path(u"copy"_s)) + "/odd\xff\xfename").constData(), F_OK), 0);
        const QString message = messageOf(BackupManager::backUp(folder.data(), folder.path(u"copy.zip"_s)));
        QVERIFY2(message.startsWith(u"Could not create the zip file. A file name is not valid UTF-8: "),
                 qPrintable(message));
        QVERIFY(!QFileInfo::exists(folder.path(u"copy.zip"_s)));
        ::unlink((name(folder.path(u"copy"_s)) + "/odd\xff\xfename").constData());
        ::unlink(odd.constData());
    }
};

ORVANEL_TEST(TestCopyTree)
#include "TestCopyTree.moc"
