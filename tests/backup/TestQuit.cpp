#include "backup/BackupManager.h"

#include "DataFolder.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QThreadPool>
#include <QTimer>

#include <array>
#include <sys/wait.h>
#include <unistd.h>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

/// Makes an archiver that writes something, prints its process id, and does not end by itself.
void makeEndlessDitto(const DataFolder& folder) {
    const QString tool = u"root/usr/bin/ditto"_s;
    const QByteArray pid = QFile::encodeName(folder.path(u"pid"_s));
    folder.write(tool, "#!/bin/sh\nif [ \"$1\" = -c ]; then echo half >\"$5\"; else echo half >\"$4/half\"; fi\n"
                       "echo $$ >'" +
                           pid + ".new'; mv '" + pid + ".new' '" + pid + "'\nexec sleep 600\n");
    QFile::setPermissions(folder.path(tool), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

/// Begins the operation in a program of its own, which quits while the archiver runs. Returns its exit status.
int quitDuring(const DataFolder& folder, const std::function<QCoro::Task<void>()>& begin) {
    const pid_t child = ::fork();
    if (child == 0) {
        int argc = 1;
        std::array<char, 2> name{'t', '\0'};
        char* argv[] = {name.data(), nullptr};
        qputenv("TMPDIR", QFile::encodeName(folder.path(u"tmp"_s)));
        qputenv("ORVANEL_TOOL_ROOT", QFile::encodeName(folder.path(u"root"_s)));
        auto* const application = new QCoreApplication(argc, argv);
        const auto task = begin();
        QTimer look;
        QObject::connect(&look, &QTimer::timeout, application, [&] {
            if (QFile::exists(folder.path(u"pid"_s))) {
                QCoreApplication::quit();
            }
        });
        look.start(1);
        const int code = QCoreApplication::exec();
        QThreadPool::globalInstance()->waitForDone();
        look.stop();
        delete application;
        ::_exit(code);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool isAlive(const DataFolder& folder) {
    QFile stat(u"/proc/%1/stat"_s.arg(QString::fromUtf8(folder.read(u"pid"_s)).trimmed()));
    return stat.open(QIODevice::ReadOnly) && !stat.readAll().contains(") Z ");
}

QCoro::Task<void> backUp(const DataFolder* folder) {
    co_await BackupManager::backUp(folder->data(), folder->path(u"elsewhere/copy.zip"_s));
}

QCoro::Task<void> restore(const DataFolder* folder) {
    co_await BackupManager::restore(folder->path(u"earlier.zip"_s), folder->data(), folder->backups());
}

} // namespace

/// Quitting while an archive is packed or unpacked. Runs without an application object, because each forked process
/// makes its own.
class TestQuit : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void archiverEndsAndTheNextStartCleansUp_data() {
        QTest::addColumn<bool>("isRestore");
        QTest::newRow("pack") << false;
        QTest::newRow("unpack") << true;
    }

    void archiverEndsAndTheNextStartCleansUp() {
        QFETCH(const bool, isRestore);
        const DataFolder folder;
        folder.fill();
        folder.write(u"elsewhere/other"_s, "not ours");
        folder.write(u"earlier.zip"_s, "PK");
        QDir().mkpath(folder.path(u"tmp"_s));
        makeEndlessDitto(folder);
        const auto before = describe(folder.path());
        const auto data = describe(folder.data());
        QCOMPARE(quitDuring(folder, [&] { return isRestore ? restore(&folder) : backUp(&folder); }), 0);
        QVERIFY(waitUntil([&] { return !isAlive(folder); }));
        QVERIFY(!folder.names(isRestore ? u"tmp"_s : u"elsewhere"_s).filter(u"orv"_s).isEmpty());

        QVERIFY(QFile::remove(folder.path(u"pid"_s)));
        const pid_t next = ::fork();
        if (next == 0) {
            int argc = 1;
            std::array<char, 2> name{'t', '\0'};
            char* argv[] = {name.data(), nullptr};
            qputenv("TMPDIR", QFile::encodeName(folder.path(u"tmp"_s)));
            const QCoreApplication application(argc, argv);
            BackupManager::recover(folder.data(), folder.backups());
            await(BackupManager::cleanUp(folder.data(), folder.backups()));
            ::_exit(0);
        }
        ::waitpid(next, nullptr, 0);
        QCOMPARE(describe(folder.path()).keys(), before.keys());
        QCOMPARE(difference(data, describe(folder.data())), QString());
    }
};

ORVANEL_TEST_WITH(TestQuit, .isForking = true)
#include "TestQuit.moc"
