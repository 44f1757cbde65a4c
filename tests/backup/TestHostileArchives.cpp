#include "backup/BackupManager.h"
#include "backup/ZipArchive.h"

#include "DataFolder.h"
#include "Message.h"
#include "ZipWriter.h"
#include "support/TestClass.h"

#include <QDir>
#include <QFileInfo>

#include <sys/stat.h>

using namespace orvanel;
using namespace orvanel::test;
using namespace Qt::StringLiterals;

namespace {

const ZipEntry database{.name = "data/kuma.db", .content = "restored"};
const char* const cannotOpen = "Could not open the zip file. ";
const char* const noData = "That zip does not look like an Uptime Kuma data folder (no kuma.db).";

ZipEntry linkEntry(const QByteArray& name, const QByteArray& target) {
    return {.name = name, .content = target, .mode = S_IFLNK | 0777};
}

ZipEntry specialEntry(const QByteArray& name, mode_t kind) {
    return {.name = name, .mode = kind | 0666};
}

} // namespace

/// Restores archives with the test's own temporary folder, beside a folder "outside" that must not change.
class TestHostileArchives : public QObject {
    Q_OBJECT

    QString restoring(const DataFolder& folder, const QByteArray& archive) {
        QDir().mkpath(folder.path(u"tmp"_s));
        qputenv("TMPDIR", QFile::encodeName(folder.path(u"tmp"_s)));
        folder.fill();
        folder.write(u"outside/precious"_s, "precious");
        folder.write(u"archive.zip"_s, archive);
        m_data = describe(folder.data());
        m_outside = describe(folder.path(u"outside"_s));
        QString message =
            messageOf(BackupManager::restore(folder.path(u"archive.zip"_s), folder.data(), folder.backups()));
        qunsetenv("TMPDIR");
        return message;
    }

    /// What was written apart from the data of a restore; empty if nothing was.
    QString damage(const DataFolder& folder) const {
        QStringList names = folder.names();
        names.sort();
        if (names != QStringList{u"Orvanel"_s, u"archive.zip"_s, u"outside"_s, u"tmp"_s}) {
            return names.join(u' ');
        }
        if (!folder.names(u"tmp"_s).isEmpty()) {
            return u"the temporary folder is still there"_s;
        }
        return difference(m_outside, describe(folder.path(u"outside"_s)));
    }

    QMap<QString, QString> m_data;
    QMap<QString, QString> m_outside;

private Q_SLOTS:
    void harmIsRefused_data() {
        QTest::addColumn<QByteArray>("archive");
        QTest::addColumn<QString>("sentence");
        const auto row = [](const char* name, const QList<ZipEntry>& entries, const char* sentence = cannotOpen) {
            QTest::newRow(name) << zipOf(entries) << QString::fromLatin1(sentence);
        };
        row("name with ..", {database, {.name = "../../outside/evil", .content = "evil"}});
        row("name with .. inside", {database, {.name = "data/x/../../../../outside/evil", .content = "evil"}});
        row("absolute name", {{.name = "/outside/evil", .content = "evil"}, {.name = "a/b/kuma.db"}}, noData);
        row("file through a link", {database, linkEntry("data/out", "../../../outside"), {.name = "data/out/evil"}});
        row("absolute link", {database, linkEntry("data/passwd", "/etc/passwd")});
        row("link that climbs out", {database, linkEntry("data/a/up", "../../outside")});
        row("link that climbs behind a link", {database,
                                               {.name = "data/one/two/file"},
                                               linkEntry("data/p", "one/two"),
                                               linkEntry("data/q", "p/../../..")});
        row("link into another folder of the archive",
            {database, {.name = "other"}, linkEntry("data/link", "../other")});
        row("the data is a link", {linkEntry("data", "../../outside"), {.name = "x"}});
        row("the data is a link inside", {{.name = "real/inner/kuma.db"}, linkEntry("data", "real/inner")}, noData);
        row("device", {database, specialEntry("data/device", S_IFCHR)});
        row("more than the disk holds", {database, {.name = "data/bomb", .saidSize = quint64{1} << 50}},
            "Could not open the zip file. There is not enough space on the disk: ");
        constexpr quint64 largest = ~quint64{0} >> 1;
        row("a size that no disk holds",
            {database, {.name = "data/a", .saidSize = largest}, {.name = "data/b", .saidSize = largest}},
            "Could not open the zip file. There is not enough space on the disk: ");
        row("a size that no number holds", {database, {.name = "data/a", .saidSize = ~quint64{0}}});
        row("larger than it says",
            {database, {.name = "data/bomb", .content = QByteArray(100'000, 'x'), .saidSize = 10}});
        row("zip of zips", {{.name = "data.zip", .content = zipOf({database})}}, noData);
        row("nothing in it", {}, "");
        QTest::newRow("cut")
            << zipOf({database, {.name = "data/rest", .content = QByteArray(100'000, 'x')}}).left(50'000)
            << QString::fromLatin1(cannotOpen);
        const QString noZip = u"Could not open the zip file. It is not a zip archive."_s;
        QTest::newRow("empty file") << QByteArray() << noZip;
        QTest::newRow("text") << QByteArray("kuma.db") << noZip;
        QTest::newRow("begins like an archive")
            << QByteArray("PK\x03\x04 and no more") << QString::fromLatin1(cannotOpen);
    }

    void harmIsRefused() {
        QFETCH(const QByteArray, archive);
        QFETCH(const QString, sentence);
        const DataFolder folder;
        const QString message = restoring(folder, archive);
        QVERIFY2(message != u"none" && message.startsWith(sentence), qPrintable(message));
        QCOMPARE(damage(folder), QString());
        QCOMPARE(difference(m_data, describe(folder.data())), QString());
        QCOMPARE(folder.names(u"Orvanel"_s), QStringList{u"data"_s});
        QVERIFY(!QFileInfo::exists(u"/outside"_s));
    }

    void whatAKilledRunUnpackedMovesNothing_data() {
        QTest::addColumn<QByteArray>("archive");
        const ZipEntry note{.name = "swapping", .content = "data/precious"};
        QTest::newRow("link") << zipOf({database, linkEntry("replaced", "../../outside")});
        QTest::newRow("link and note") << zipOf({database, note, linkEntry("replaced", "../../outside")});
        QTest::newRow("deeper link and note") << zipOf({database, note, linkEntry("replaced", "../../../outside")});
        QTest::newRow("folder") << zipOf({database, {.name = "replaced/precious", .content = "evil"}});
        QTest::newRow("folder and note") << zipOf({database, note, {.name = "replaced/precious", .content = "evil"}});
    }

    /// Such an archive is refused after it is unpacked, but a kill may come before that.
    void whatAKilledRunUnpackedMovesNothing() {
        QFETCH(const QByteArray, archive);
        const DataFolder folder;
        // This archiver leaves what a kill at the end of unpacking would leave.
        folder.write(u"outside/tool/usr/bin/ditto"_s,
                     "#!/bin/sh\nbsdtar -xpf \"$3\" -C \"$4\"\ncd \"$TMPDIR\"\n"
                     "cp -a orv-restore-*-* ../left\nmv ../left orv-restore-01234567-89AB-CDEF-0123-456789ABCDEF\n");
        const QString tool = folder.path(u"outside/tool/usr/bin/ditto"_s);
        QFile::setPermissions(tool, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("ORVANEL_TOOL_ROOT", QFile::encodeName(folder.path(u"outside/tool"_s)));
        restoring(folder, archive);
        qunsetenv("ORVANEL_TOOL_ROOT");
        QCOMPARE(folder.names(u"tmp"_s), QStringList{u"orv-restore-01234567-89AB-CDEF-0123-456789ABCDEF"_s});
        QCOMPARE(restoring(folder, zipOf({database})), u"none"_s);
        QCOMPARE(damage(folder), QString());
    }

    void otherArchivesAreNoZip_data() {
        QTest::addColumn<QString>("format");
        for (const char* const format : {"ustar", "cpio", "7zip", "mtree", "shar"}) {
            QTest::newRow(format) << QString::fromLatin1(format);
        }
    }

    void otherArchivesAreNoZip() {
        QFETCH(const QString, format);
        const DataFolder source;
        source.fill();
        const QString file = source.path(u"archive"_s);
        const QString output = runTool(u"bsdtar"_s, {u"-c"_s, u"--format"_s, format, u"-f"_s, file, u"-C"_s,
                                                     source.path(u"Orvanel"_s), u"data"_s});
        QVERIFY2(!output.startsWith(u"failed"), qPrintable(output));
        const DataFolder folder;
        QCOMPARE(restoring(folder, source.read(u"archive"_s)),
                 u"Could not open the zip file. It is not a zip archive."_s);
        QCOMPARE(damage(folder), QString());
    }

    void encryptedArchiveIsRefusedAndNobodyAsked() {
        const DataFolder source;
        source.fill();
        // Some versions of 7z count a link to nowhere as a failure.
        QVERIFY(QFile::remove(source.data(u"dangling"_s)));
        const QString output = runTool(u"7z"_s, {u"a"_s, u"-psecret"_s, source.path(u"archive.zip"_s), source.data()});
        QVERIFY2(!output.startsWith(u"failed"), qPrintable(output));
        const DataFolder folder;
        const QString message = restoring(folder, source.read(u"archive.zip"_s));
        QVERIFY2(message.startsWith(QLatin1String(cannotOpen)), qPrintable(message));
        QVERIFY(!message.contains(u"Enter"));
        QCOMPARE(damage(folder), QString());
    }

    void folderIsNoZip() {
        const DataFolder folder;
        folder.fill();
        folder.write(u"folder.zip/kuma.db"_s, "");
        QCOMPARE(messageOf(BackupManager::restore(folder.path(u"folder.zip"_s), folder.data(), folder.backups())),
                 u"Could not open the zip file. It is not a zip archive."_s);
    }

    void oddButHarmlessIsRestored() {
        const DataFolder folder;
        const QString message = restoring(folder, zipOf({
                                                      database,
                                                      {.name = "data/line\nbreak \x1b[31m", .content = "odd"},
                                                      {.name = "data/program", .content = "x", .mode = S_IFREG | 06755},
                                                      linkEntry("data/link", "kuma.db"),
                                                      linkEntry("data/a/b/link", "../../kuma.db"),
                                                      specialEntry("data/pipe", S_IFIFO),
                                                      linkEntry("data/out", "../../outside"),
                                                      {.name = "data/out/", .mode = S_IFDIR | 0755},
                                                      {.name = "data/out/file", .content = "inside"},
                                                  }));
        QCOMPARE(message, u"none"_s);
        QCOMPARE(damage(folder), QString());
        QCOMPARE(folder.read(u"Orvanel/data/link"_s), QByteArray("restored"));
        QCOMPARE(folder.read(u"Orvanel/data/a/b/link"_s), QByteArray("restored"));
        QCOMPARE(folder.read(u"Orvanel/data/line\nbreak \x1b[31m"_s), QByteArray("odd"));
        QVERIFY(QFileInfo(folder.data(u"pipe"_s)).isFile());
        QCOMPARE(folder.read(u"Orvanel/data/out/file"_s), QByteArray("inside"));
        QVERIFY(!QFileInfo(folder.data(u"out"_s)).isSymLink());
        struct stat status {};
        QCOMPARE(::stat(QFile::encodeName(folder.data(u"program"_s)).constData(), &status), 0);
        QCOMPARE(status.st_mode & 07777, mode_t{0755});
    }

    void listIsReadAndNeverTrusted() {
        const DataFolder folder;
        const auto read = [&](const QByteArray& bytes) {
            folder.write(u"a.zip"_s, bytes);
            return ZipArchive::list(folder.path(u"a.zip"_s));
        };
        const QByteArray good = zipOf({database, {.name = "data/big", .saidSize = quint64{6} << 30}});
        QCOMPARE(read(good), (ZipListing{.entries = 2, .bytes = (qint64{6} << 30) + 8}));
        // Whichever byte is wrong, reading must end; the sanitizers check every access.
        for (qsizetype at = 0; at < good.size(); ++at) {
            QByteArray bad = good;
            bad[at] = static_cast<char>(~bad[at]);
            read(bad);
            QVERIFY(!read(good.left(at)));
        }
    }
};

ORVANEL_TEST(TestHostileArchives)
#include "TestHostileArchives.moc"
