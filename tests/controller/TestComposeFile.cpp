#include "ControllerFixture.h"
#include "controller/ComposeFile.h"
#include "support/Await.h"
#include "support/FilePermissions.h"
#include "support/FullDisk.h"
#include "support/TestClass.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(cannot be read)");
}

QByteArray expectedText(const KumaController& kuma) {
    return composeText(kuma.state().imageTag, kuma.state().port).toUtf8();
}

/// The file's own number, which tells it from a file with the same content that replaced it.
ino_t numberOf(const QString& path) {
    struct stat status {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_ino : 0;
}

QStringList programFolder(const KumaController& kuma) {
    return QDir(kuma.dataDir() + u"/.."_s).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
}

} // namespace

class TestComposeFile : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void foldersAndFileAreMade() {
        ControllerFixture world;
        world.applicationSupport = world.home.path(u"a/b c/ü"_s);
        KumaController& kuma = world.controller();
        QVERIFY(!kuma.prepareFiles());
        QVERIFY(QDir(kuma.dataDir()).exists());
        QVERIFY(QDir(kuma.dataDir()).isEmpty());
        QCOMPARE(contentOf(kuma.composeURL()), expectedText(kuma));
        QCOMPARE(programFolder(kuma), (QStringList{u"data"_s, u"docker-compose.yml"_s}));
    }

    /// The text goes into a buffer first, so only flushing the buffer finds the disk full.
    void fullDiskIsToldAndLeavesTheOldFileWhole() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        QVERIFY(!kuma.prepareFiles());
        const QByteArray before = contentOf(kuma.composeURL());
        kuma.setPort(4000);
        std::optional<QString> reason;
        {
            const FullDisk full;
            reason = kuma.prepareFiles();
        }
        QVERIFY(reason.has_value());
        QCOMPARE(contentOf(kuma.composeURL()), before);
        QCOMPARE(QDir(QFileInfo(kuma.composeURL()).path()).entryList(QDir::Files | QDir::Hidden),
                 QStringList(u"docker-compose.yml"_s));
        QVERIFY(!kuma.prepareFiles());
        QVERIFY(contentOf(kuma.composeURL()) != before);
    }

    void readOnlyFileStaysWhenItCannotBeReplaced() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        QVERIFY(!kuma.prepareFiles());
        const QByteArray before = contentOf(kuma.composeURL());
        QVERIFY(QFile::setPermissions(kuma.composeURL(), QFile::ReadOwner));
        kuma.setPort(4000);
        {
            const FullDisk full;
            QVERIFY(kuma.prepareFiles().has_value());
        }
        QCOMPARE(contentOf(kuma.composeURL()), before);
        QVERIFY(!kuma.prepareFiles());
        QVERIFY(contentOf(kuma.composeURL()) != before);
    }

    void pipeInTheFilesPlaceIsReplaced() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        QVERIFY(!kuma.prepareFiles());
        QVERIFY(QFile::remove(kuma.composeURL()));
        QCOMPARE(::mkfifo(QFile::encodeName(kuma.composeURL()).constData(), 0600), 0);
        QVERIFY(!kuma.prepareFiles());
        QCOMPARE(contentOf(kuma.composeURL()), expectedText(kuma));
    }

    void sameTextIsNotWrittenAgain() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        QVERIFY(!kuma.prepareFiles());
        const ino_t first = numberOf(kuma.composeURL());
        const QDateTime longAgo = QDateTime::fromSecsSinceEpoch(1000000000);
        {
            QFile file(kuma.composeURL());
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.setFileTime(longAgo, QFileDevice::FileModificationTime));
        }
        QVERIFY(!kuma.prepareFiles());
        QCOMPARE(QFileInfo(kuma.composeURL()).lastModified(), longAgo);
        QCOMPARE(numberOf(kuma.composeURL()), first);
    }

    void otherPortOrTagIsWritten() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        QVERIFY(!kuma.prepareFiles());
        kuma.setPort(4001);
        QVERIFY(!kuma.prepareFiles());
        QCOMPARE(contentOf(kuma.composeURL()), composeText(u"2"_s, 4001).toUtf8());
        kuma.setImageTag(u"2.5.3-ü"_s);
        QVERIFY(!kuma.prepareFiles());
        QCOMPARE(contentOf(kuma.composeURL()), composeText(u"2.5.3-ü"_s, 4001).toUtf8());
        QCOMPARE(programFolder(kuma).size(), 2);
    }

    void editedFileIsReplaced_data() {
        QTest::addColumn<QByteArray>("content");
        const QByteArray text = composeText(u"2"_s, 3001).toUtf8();
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("one line more") << text + "    privileged: true\n";
        QTest::newRow("without its last line end") << text.chopped(1);
        QTest::newRow("same length") << QByteArray(text).replace("127.0.0.1", "127.0.0.2");
        QTest::newRow("other line ends") << QByteArray(text).replace("\n", "\r\n");
        QTest::newRow("not UTF-8") << QByteArray("\xff\xfe\x80");
    }

    void editedFileIsReplaced() {
        QFETCH(const QByteArray, content);
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.home.write(u".local/share/Orvanel/docker-compose.yml"_s, content);
        const ino_t first = numberOf(kuma.composeURL());
        QVERIFY(!kuma.prepareFiles());
        QCOMPARE(contentOf(kuma.composeURL()), expectedText(kuma));
        QVERIFY(numberOf(kuma.composeURL()) != first); // in one step, never half
    }

    void dataStaysAsItIs() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.home.write(u".local/share/Orvanel/data/kuma.db"_s, "precious");
        QVERIFY(!kuma.prepareFiles());
        QCOMPARE(contentOf(kuma.dataDir() + u"/kuma.db"_s), QByteArray("precious"));
    }

    void fileThatMayNotBeReadOrWrittenIsReplaced() {
        obeyFilePermissions();
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.home.write(u".local/share/Orvanel/docker-compose.yml"_s, "services:\n");
        for (const QFile::Permissions permissions : {QFile::Permissions(), QFile::Permissions(QFile::ReadOwner)}) {
            QVERIFY(QFile::setPermissions(kuma.composeURL(), permissions));
            kuma.setPort(kuma.state().port + 1);
            const std::optional<QString> failure = kuma.prepareFiles();
            QVERIFY2(!failure, qPrintable(failure.value_or(QString())));
            QCOMPARE(contentOf(kuma.composeURL()), expectedText(kuma));
        }
    }

    void folderInTheFilesPlaceIsAnError() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.home.write(u".local/share/Orvanel/docker-compose.yml/precious"_s, "precious");
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().error.has_value());
        QCOMPARE(kuma.state().error->message, u"Could not write the compose file."_s);
        QVERIFY(kuma.state().error->details.startsWith(kuma.composeURL() + u": "_s));
        QVERIFY(kuma.state().error->details.size() > kuma.composeURL().size() + 2);
        QCOMPARE(contentOf(kuma.composeURL() + u"/precious"_s), QByteArray("precious"));
        QCOMPARE(world.takeCommands().mid(0, 2), (QStringList{u"info"_s, u"inspect"_s}));
        QVERIFY(!world.docker().container);
    }

    void fileInTheDataFoldersPlaceIsAnError() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.home.write(u".local/share/Orvanel"_s, "a file");
        const std::optional<QString> failure = kuma.prepareFiles();
        QVERIFY(failure.has_value());
        QVERIFY(failure->startsWith(kuma.dataDir() + u": "_s));
        kuma.start();
        QVERIFY(world.operationEnds());
        QVERIFY(kuma.state().error.has_value());
        QCOMPARE(kuma.state().error->message, u"Could not write the compose file."_s);
        QCOMPARE(kuma.state().error->details, *failure);
        QVERIFY(!world.takeCommands().contains(u"image inspect"_s));
        QCOMPARE(contentOf(world.home.path(u".local/share/Orvanel"_s)), QByteArray("a file"));
    }

    void dataFolderThatCannotBeMadeLeavesTheFileAlone() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.home.write(u".local/share/Orvanel/data"_s, "a file");
        QVERIFY(kuma.prepareFiles().has_value());
        QVERIFY(!QFile::exists(kuma.composeURL()));
    }

    void composeIsProbedOnceForATool() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        kuma.start();
        QVERIFY(world.operationEnds());
        kuma.stop();
        QVERIFY(world.operationEnds());
        kuma.begin();
        world.advance(10s);
        QCOMPARE(world.takeCommands().count(u"compose version"_s), 1);

        kuma.setDockerOverride(QString());
        world.advance(10s);
        QCOMPARE(world.takeCommands().count(u"compose version"_s), 1);
    }

    void composeThatDoesNotAnswerInTimeCountsAsMissing() {
        ControllerFixture world;
        KumaController& kuma = world.controller();
        world.hang("compose version", 1);
        kuma.start();
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().composeAvailable, std::optional(false));
        const QStringList commands = world.takeCommands();
        QVERIFY(commands.contains(u"pull"_s) && commands.contains(u"run"_s));
        QCOMPARE(commands.count(u"compose version"_s), 1);
        QVERIFY(world.docker().container.has_value());
    }

    void freePortIsTheFirstOfNine_data() {
        QTest::addColumn<int>("port");
        QTest::addColumn<QList<int>>("taken");
        QTest::addColumn<int>("offered"); // 0 = none
        QTest::newRow("the first") << 3001 << QList<int>{} << 3002;
        QTest::newRow("not the configured one") << 3002 << QList<int>{} << 3003;
        QTest::newRow("3001 is never offered") << 3005 << QList<int>{3002, 3003, 3004} << 3006;
        QTest::newRow("the last") << 3001 << QList<int>{3002, 3003, 3004, 3005, 3006, 3007, 3008, 3009} << 3010;
        QTest::newRow("none") << 3001 << QList<int>{3002, 3003, 3004, 3005, 3006, 3007, 3008, 3009, 3010} << 0;
        QTest::newRow("none but the configured one")
            << 3010 << QList<int>{3002, 3003, 3004, 3005, 3006, 3007, 3008, 3009} << 0;
    }

    void freePortIsTheFirstOfNine() {
        QFETCH(const int, port);
        QFETCH(const QList<int>, taken);
        QFETCH(const int, offered);
        ControllerFixture world;
        world.listeningPorts = QSet<int>(taken.begin(), taken.end()) + QSet<int>{port};
        KumaController& kuma = world.controller();
        kuma.setPort(port);
        kuma.start();
        QVERIFY(world.operationEnds());
        QCOMPARE(kuma.state().suggestedPort.value_or(0), offered);
        QCOMPARE(kuma.state().error->message, u"Port %1 is already in use by another program."_s.arg(port));
    }

    void closingPortIsNotOffered() {
        ControllerFixture world;
        world.listeningPorts = {3001};
        world.closingPorts = {3002};
        world.controller().start();
        QVERIFY(world.operationEnds());
        QCOMPARE(world.controller().state().suggestedPort, std::optional(3003));
    }
};

ORVANEL_TEST(TestComposeFile)
#include "TestComposeFile.moc"
