#include "backup/BackupManager.h"
#include "backup/ZipArchive.h"

#include "DataFolder.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <sys/stat.h>
#include <unistd.h>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

/// Waits for a task that may take longer than a test usually waits.
template <class T>
QCoro::Task<void> finish(QCoro::Task<T> task, bool* done) {
    co_await task;
    *done = true;
}

template <class T>
bool ends(QCoro::Task<T> task) {
    bool done = false;
    const auto whole = finish(std::move(task), &done);
    for (int waits = 0; waits < 10 && !done; ++waits) {
        done = waitUntil([&] { return done; });
    }
    return done;
}

} // namespace

/// Archives beyond the limits of the original zip format.
class TestLargeArchives : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { workInMemory(); }

    void moreThan65535EntriesComeBack() {
        const DataFolder folder;
        folder.write(u"Orvanel/data/kuma.db"_s, "");
        constexpr int folders = 70;
        constexpr int filesInEach = 1000;
        for (int i = 0; i < folders; ++i) {
            const QString path = folder.data(u"upload/%1"_s.arg(i));
            QDir().mkpath(path);
            for (int j = 0; j < filesInEach; ++j) {
                QVERIFY(::mknod(QFile::encodeName(path + u"/%1"_s.arg(j)).constData(), S_IFREG | 0644, 0) == 0);
            }
        }
        const QString zip = folder.path(u"copy.zip"_s);
        QVERIFY(ends(BackupManager::backUp(folder.data(), zip)));
        QCOMPARE(ZipArchive::list(zip)->entries, qint64{folders * (filesInEach + 1) + 3});
        QVERIFY(runTool(u"unzip"_s, {u"-tqq"_s, zip}).isEmpty());
        QVERIFY(ends(BackupManager::restore(zip, folder.path(u"back"_s), folder.path(u"Kept"_s))));
        QCOMPARE(folder.names(u"back/upload"_s).size(), folders);
        for (int i = 0; i < folders; ++i) {
            QCOMPARE(folder.names(u"back/upload/%1"_s.arg(i)).size(), filesInEach);
        }
    }

    void moreThan4GibibytesComeBack() {
        const DataFolder folder;
        folder.write(u"Orvanel/data/kuma.db"_s, "at the beginning");
        constexpr off_t size = off_t{5} << 30;
        QCOMPARE(::truncate(QFile::encodeName(folder.data(u"kuma.db"_s)).constData(), size), 0);
        folder.write(u"Orvanel/data/after"_s, "after it");
        const QString zip = folder.path(u"copy.zip"_s);
        QVERIFY(ends(BackupManager::backUp(folder.data(), zip)));
        QVERIFY(QFileInfo(zip).size() < 50'000'000);
        QVERIFY(ZipArchive::list(zip)->bytes > size);
        QVERIFY(ends(BackupManager::restore(zip, folder.path(u"back"_s), folder.path(u"Kept"_s))));
        struct stat status {};
        QCOMPARE(::stat(QFile::encodeName(folder.path(u"back/kuma.db"_s)).constData(), &status), 0);
        QCOMPARE(status.st_size, size);
        QVERIFY(status.st_blocks < 1000);
        QFile file(folder.path(u"back/kuma.db"_s));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.read(16), QByteArray("at the beginning"));
        QCOMPARE(folder.read(u"back/after"_s), QByteArray("after it"));
        // Other tools must be able to open it too. Only 7z reads the content, which takes unzip far longer.
        for (const QString& tool : {u"unzip"_s, u"7z"_s}) {
            if (QStandardPaths::findExecutable(tool).isEmpty()) {
                QSKIP(qPrintable(tool + u" is not installed, so it could not check the archive."_s));
            }
        }
        const QString list = runTool(u"unzip"_s, {u"-lqq"_s, zip});
        QVERIFY2(list.contains(QString::number(size)) && list.contains(u"data/after"), qPrintable(list));
        const QString test = runTool(u"7z"_s, {u"t"_s, zip});
        QVERIFY2(test.contains(u"Everything is Ok"), qPrintable(test));
    }
};

ORVANEL_TEST(TestLargeArchives)
#include "TestLargeArchives.moc"
