#include "Settings.h"
#include "support/FilePermissions.h"
#include "support/FullDisk.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

#include <QDir>
#include <QFileInfo>
#include <QLockFile>
#include <QTest>

#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

/// Takes away the permission to write (or all permissions) while this object lives.
class Locked {
public:
    Locked(QString path, QFile::Permissions permissions)
        : m_path(std::move(path))
        , m_before(QFile::permissions(m_path)) {
        QFile::setPermissions(m_path, permissions);
    }
    ~Locked() { QFile::setPermissions(m_path, m_before); }
    Locked(const Locked&) = delete;
    Locked& operator=(const Locked&) = delete;

private:
    const QString m_path;
    const QFile::Permissions m_before;
};

void checkCannotWrite(SettingsStore& store) {
    QVERIFY(!store.setInteger(port, 4000));
    QVERIFY(!store.setText(slug, u"mine"_s));
    QVERIFY(!store.setBoolean(stopOnQuit, true));
    QCOMPARE(store.integer(port, 7), 4000);
    QCOMPARE(store.text(slug, QString()), u"mine"_s);
    QCOMPARE(store.boolean(stopOnQuit, false), true);
}

} // namespace

/// What may be, or may happen, in the place of the settings file.
class TestSettingsFile : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { obeyFilePermissions(); }

    void deletedFileIsWrittenAnewWithAllThatIsKnown() {
        const TestHome home;
        home.write(fileName, "[General]\nport=4001\nslug=mine\n");
        SettingsStore store;
        QVERIFY(QFile::remove(home.path(fileName)));
        QVERIFY(store.setInteger(port, 4002));
        QCOMPARE(SettingsStore().text(slug, {}), u"mine"_s);
        QCOMPARE(SettingsStore().integer(port, 0), 4002);
    }

    void othersChangesMeanwhileStay() {
        const TestHome home;
        home.write(fileName, "[General]\nport=1\nslug=old\n");
        SettingsStore store;
        home.write(fileName, "[General]\nport=1\nslug=changed elsewhere\n");
        QVERIFY(store.setInteger(port, 2));
        QCOMPARE(SettingsStore().text(slug, QString()), u"changed elsewhere"_s);
        QCOMPARE(SettingsStore().integer(port, 0), 2);
    }

    void brokenFileIsKeptBesideTheNewOne_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("binary") << QByteArray("\x7f"
                                              "ELF\0\1\2\xff\xfe",
                                              9);
        QTest::newRow("words") << QByteArray("this is no settings file\n");
        QTest::newRow("not UTF-8") << QByteArray("[General]\nname=caf\xe9\n");
        QTest::newRow("cut within a character") << QByteArray("[General]\nname=caf\xc3");
        QTest::newRow("open section") << QByteArray("[General\nx=1\n");
        QTest::newRow("open quote") << QByteArray("[General]\nx=\"abc\ny=1\n");
        // Qt's reader would run out of stack.
        QTest::newRow("object within objects")
            << QByteArray("[General]\nx=@Variant(") + QByteArray("\\0\\0\\0)").repeated(100'000) + ")\n";
        QTest::newRow("huge file") << QByteArray("[General]\n") + QByteArray(2 << 20, 'x');
    }

    void brokenFileIsKeptBesideTheNewOne() {
        QFETCH(const QByteArray, content);
        const TestHome home;
        home.write(fileName, content);
        SettingsStore store;
        checkReadsAsFallback(store);
        QCOMPARE(contentOf(home.path(fileName)), content);
        QVERIFY(store.setInteger(port, 4000));
        QVERIFY(store.setText(slug, u"mine"_s));
        QCOMPARE(contentOf(home.path(fileName) + u".broken"_s), content);
        QCOMPARE(SettingsStore().integer(port, 0), 4000);
        QCOMPARE(SettingsStore().text(slug, QString()), u"mine"_s);
    }

    void goodLinesOfABrokenFileCount() {
        const TestHome home;
        home.write(fileName, "[General]\nport=4000\n<<<<<<< conflict\nother=a, b\n");
        SettingsStore store;
        QCOMPARE(store.integer(port, 0), 4000);
        QVERIFY(store.setText(slug, u"mine"_s));
        QCOMPARE(SettingsStore().integer(port, 0), 4000);
        QVERIFY(contentOf(home.path(fileName)).contains("other=a, b\n"));
    }

    void everyBrokenFileIsKept() {
        const TestHome home;
        for (const char* content : {"first", "second", "third"}) {
            home.write(fileName, content);
            QVERIFY(SettingsStore().setInteger(port, 1));
        }
        QCOMPARE(contentOf(home.path(fileName) + u".broken"_s), QByteArray("first"));
        QCOMPARE(contentOf(home.path(fileName) + u".broken2"_s), QByteArray("second"));
        QCOMPARE(contentOf(home.path(fileName) + u".broken3"_s), QByteArray("third"));
    }

    void fileThatBreaksDuringTheRunIsKeptToo() {
        const TestHome home;
        SettingsStore store;
        QVERIFY(store.setText(slug, u"mine"_s));
        home.write(fileName, "broken by hand");
        QVERIFY(store.setInteger(port, 1));
        QCOMPARE(contentOf(home.path(fileName) + u".broken"_s), QByteArray("broken by hand"));
        QCOMPARE(SettingsStore().text(slug, QString()), u"mine"_s);
    }

    void folderInTheFilesPlace() {
        const TestHome home;
        home.write(fileName + u"/inside"_s, "kept");
        SettingsStore store;
        checkReadsAsFallback(store);
        checkCannotWrite(store);
        QCOMPARE(contentOf(home.path(fileName + u"/inside"_s)), QByteArray("kept"));
    }

    void fileInTheFoldersPlace() {
        const TestHome home;
        home.write(u".config/Orvanel"_s, "a file");
        SettingsStore store;
        checkReadsAsFallback(store);
        checkCannotWrite(store);
    }

    void pipeInTheFilesPlace() {
        const TestHome home;
        QVERIFY(QDir().mkpath(home.path(u".config/Orvanel"_s)));
        QCOMPARE(::mkfifo(QFile::encodeName(home.path(fileName)).constData(), 0600), 0);
        SettingsStore store;
        checkReadsAsFallback(store);
        checkCannotWrite(store);
    }

    void unreadableFile() {
        const TestHome home;
        home.write(fileName, "[General]\nport=1\n");
        {
            const Locked locked(home.path(fileName), {});
            SettingsStore store;
            checkReadsAsFallback(store);
            checkCannotWrite(store);
        }
        QCOMPARE(contentOf(home.path(fileName)), QByteArray("[General]\nport=1\n"));
    }

    void readOnlyFile() {
        const TestHome home;
        home.write(fileName, "[General]\nport=1\n");
        const Locked locked(home.path(fileName), QFile::ReadOwner);
        SettingsStore store;
        QCOMPARE(store.integer(port, 7), 1);
        checkCannotWrite(store);
        QCOMPARE(contentOf(home.path(fileName)), QByteArray("[General]\nport=1\n"));
    }

    void readOnlyFolder() {
        const TestHome home;
        home.write(fileName, "[General]\nport=1\n");
        const Locked locked(home.path(u".config/Orvanel"_s), QFile::ReadOwner | QFile::ExeOwner);
        SettingsStore store;
        checkCannotWrite(store);
        QCOMPARE(contentOf(home.path(fileName)), QByteArray("[General]\nport=1\n"));
    }

    void fullDiskLeavesTheOldFile_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("good") << QByteArray("[General]\nport=4000\nslug=home\n");
        QTest::newRow("broken") << QByteArray("no settings at all");
    }

    void fullDiskLeavesTheOldFile() {
        QFETCH(const QByteArray, content);
        const TestHome home;
        home.write(fileName, content);
        {
            const FullDisk full;
            SettingsStore store;
            QVERIFY(!store.setText(u"slug"_s, u"a slug that has no room"_s));
            QCOMPARE(store.text(u"slug"_s, {}), u"a slug that has no room"_s);
            QCOMPARE(contentOf(home.path(fileName)), content);
            QCOMPARE(QDir(home.path(u".config/Orvanel"_s)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                     QStringList(u"Orvanel.conf"_s));
        }
        SettingsStore later;
        QVERIFY(later.setText(u"slug"_s, u"another"_s));
        QCOMPARE(SettingsStore().text(u"slug"_s, {}), u"another"_s);
    }

    void firstSettingOnAFullDiskIsNotSaved() {
        const TestHome home;
        const FullDisk full;
        SettingsStore store;
        QVERIFY(!store.setText(u"slug"_s, u"a slug that has no room"_s));
    }

    void brokenFileInAReadOnlyFolderStays() {
        const TestHome home;
        home.write(fileName, "no settings");
        const Locked locked(home.path(u".config/Orvanel"_s), QFile::ReadOwner | QFile::ExeOwner);
        SettingsStore store;
        checkCannotWrite(store);
        QCOMPARE(contentOf(home.path(fileName)), QByteArray("no settings"));
    }

    void writingWorksAgainWhenTheFolderDoes() {
        const TestHome home;
        home.write(fileName, "[General]\nport=1\n");
        SettingsStore store;
        {
            const Locked locked(home.path(u".config/Orvanel"_s), QFile::ReadOwner | QFile::ExeOwner);
            QVERIFY(!store.setInteger(port, 2));
        }
        QVERIFY(store.setInteger(port, 3));
        QCOMPARE(SettingsStore().integer(port, 0), 3);
    }

    void lockThatCannotBeTakenHoldsNothingUp_data() {
        QTest::addColumn<bool>("isFolder");
        QTest::newRow("a folder has its name") << true;
        QTest::newRow("another program holds it") << false;
    }

    void lockThatCannotBeTakenHoldsNothingUp() {
        QFETCH(const bool, isFolder);
        const TestHome home;
        home.write(fileName, "[General]\nport=1\n");
        const QString lock = home.path(fileName) + u".lock"_s;
        QLockFile other(lock);
        other.setStaleLockTime(0);
        QVERIFY(isFolder ? QDir().mkpath(lock + u"/inside"_s) : other.lock());
        SettingsStore store;
        checkCannotWrite(store);
        QCOMPARE(contentOf(home.path(fileName)), QByteArray("[General]\nport=1\n"));
        other.unlock();
        QVERIFY(!isFolder || QDir(lock).removeRecursively());
        QVERIFY(store.setInteger(port, 3));
        QCOMPARE(SettingsStore().integer(port, 0), 3);
    }

    void linkedFileIsWrittenThroughItsLink() {
        const TestHome home;
        const QString real = home.write(u"dotfiles/Orvanel.conf"_s, "[General]\nport=1\n");
        QVERIFY(QDir().mkpath(home.path(u".config/Orvanel"_s)));
        QVERIFY(QFile::link(real, home.path(fileName)));
        QVERIFY(SettingsStore().setInteger(port, 2));
        QVERIFY(QFileInfo(home.path(fileName)).isSymLink());
        QVERIFY(contentOf(real).contains("port=2\n"));
    }
};

ORVANEL_TEST(TestSettingsFile)
#include "TestSettingsFile.moc"
