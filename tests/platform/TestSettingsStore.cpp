#include "platform/SettingsStore.h"
#include "support/FilePermissions.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTest>

#include <climits>
#include <sys/stat.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

const QString fileName = u".config/Orvanel/Orvanel.conf"_s;
const QString port = u"port"_s;
const QString slug = u"slug"_s;
const QString stopOnQuit = u"stopOnQuit"_s;

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

/// Takes writing (or all) permissions away while it lives.
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

/// What every store must do whose file gives nothing.
void checkReadsAsFallback(const SettingsStore& store) {
    QCOMPARE(store.integer(port, 7), 7);
    QCOMPARE(store.text(slug, u"none"_s), u"none"_s);
    QCOMPARE(store.boolean(stopOnQuit, true), true);
    QCOMPARE(store.boolean(stopOnQuit, false), false);
}

void checkCannotWrite(SettingsStore& store) {
    QVERIFY(!store.setInteger(port, 4000));
    QVERIFY(!store.setText(slug, u"mine"_s));
    QVERIFY(!store.setBoolean(stopOnQuit, true));
    QCOMPARE(store.integer(port, 7), 4000);
    QCOMPARE(store.text(slug, QString()), u"mine"_s);
    QCOMPARE(store.boolean(stopOnQuit, false), true);
}

} // namespace

class TestSettingsStore : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { obeyFilePermissions(); }

    void usersFileLiesInTheConfigurationHome() {
        const TestHome home;
        SettingsStore store;
        QCOMPARE(store.file(), home.path(fileName));
        checkReadsAsFallback(store);
        QVERIFY(!QFileInfo::exists(store.file()));
        QVERIFY(store.setInteger(port, 3005));
        QVERIFY(QFileInfo(store.file()).isFile());
        QCOMPARE(SettingsStore().integer(port, 0), 3005);
    }

    void valuesAreOnDiskWhenTheCallReturns() {
        const TestHome home;
        SettingsStore store;
        QVERIFY(store.setInteger(port, -80));
        QVERIFY(contentOf(store.file()).contains("port=-80\n"));
        QVERIFY(store.setBoolean(stopOnQuit, true));
        QVERIFY(contentOf(store.file()).contains("stopOnQuit=true\n"));
        QVERIFY(store.setText(slug, u"mine"_s));
        QVERIFY(contentOf(store.file()).contains("slug=mine\n"));
        QVERIFY(store.setBoolean(stopOnQuit, false));
        QVERIFY(contentOf(store.file()).contains("stopOnQuit=false\n"));
        const SettingsStore second;
        QCOMPARE(second.integer(port, 0), -80);
        QCOMPARE(second.boolean(stopOnQuit, true), false);
        QCOMPARE(second.text(slug, QString()), u"mine"_s);
    }

    void typesAreChecked_data() {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<int>("asInteger");
        QTest::addColumn<QString>("asText");
        QTest::addColumn<bool>("asBooleanWithTrue");
        QTest::addColumn<bool>("asBooleanWithFalse");
        const QString none = u"none"_s;
        QTest::newRow("number") << QByteArray("3005") << 3005 << u"3005"_s << true << false;
        QTest::newRow("quoted number") << QByteArray("\"3005\"") << 3005 << u"3005"_s << true << false;
        QTest::newRow("one") << QByteArray("1") << 1 << u"1"_s << true << true;
        QTest::newRow("zero") << QByteArray("0") << 0 << u"0"_s << false << false;
        QTest::newRow("true") << QByteArray("True") << 7 << u"True"_s << true << true;
        QTest::newRow("false") << QByteArray("false") << 7 << u"false"_s << false << false;
        QTest::newRow("word") << QByteArray("abc") << 7 << u"abc"_s << true << false;
        QTest::newRow("empty") << QByteArray("") << 7 << QString() << true << false;
        QTest::newRow("fraction") << QByteArray("3005.5") << 7 << u"3005.5"_s << true << false;
        QTest::newRow("huge") << QByteArray("99999999999999999999") << 7 << u"99999999999999999999"_s << true << false;
        QTest::newRow("over int") << QByteArray("2147483648") << 7 << u"2147483648"_s << true << false;
        QTest::newRow("list") << QByteArray("a,b") << 7 << none << true << false;
        QTest::newRow("list of numbers") << QByteArray("3005, 3006") << 7 << none << true << false;
        QTest::newRow("bytes") << QByteArray("@ByteArray(3005)") << 7 << none << true << false;
        QTest::newRow("invalid") << QByteArray("@Invalid()") << 7 << none << true << false;
        QTest::newRow("huge object") << QByteArray("@Variant(\\0\\0\\0\\x9\\0\\xff\\xff\\xff\\xf0)") << 7 << none
                                     << true << false;
        QTest::newRow("size") << QByteArray("@Size(1 2)") << 7 << none << true << false;
    }

    void typesAreChecked() {
        QFETCH(const QByteArray, stored);
        const TestHome home;
        home.write(fileName, "[General]\nx=" + stored + "\n");
        const SettingsStore store;
        const QString x = u"x"_s;
        QTEST(store.integer(x, 7), "asInteger");
        QTEST(store.text(x, u"none"_s), "asText");
        QTEST(store.boolean(x, true), "asBooleanWithTrue");
        QTEST(store.boolean(x, false), "asBooleanWithFalse");
    }

    void integersKeepTheirLimits() {
        const TestHome home;
        for (const int value : {INT_MIN, -1, 0, 1, 65535, INT_MAX}) {
            QVERIFY(SettingsStore().setInteger(port, value));
            QCOMPARE(SettingsStore().integer(port, 7), value);
        }
    }

    void textsRoundTrip_data() {
        QTest::addColumn<QString>("value");
        QTest::newRow("empty") << QString();
        QTest::newRow("comma") << u"a, b,c"_s;
        QTest::newRow("quotes") << u"\"a\" 'b' \\\"c\\"_s;
        QTest::newRow("last backslash") << u"a, b\\"_s;
        QTest::newRow("blanks") << u"  leading and trailing\t "_s;
        QTest::newRow("lines") << u"one\ntwo\r\nthree"_s;
        QTest::newRow("emoji") << u"\U0001F43B bear \u2026"_s;
        QTest::newRow("like an object") << u"@Variant(x) @Invalid() @"_s;
        QTest::newRow("at") << u"@Invalid()"_s;
        QTest::newRow("object") << u"@Variant(x)"_s;
        QTest::newRow("blank and object") << u" @Dev"_s;
        QTest::newRow("object in a list") << u"a, @DateTime(x)"_s;
        QTest::newRow("at in octal") << u"\4"
                                        "00 \x4"_s;
        QTest::newRow("comment") << u"; # a=b [c]"_s;
        QTest::newRow("percent") << u"%20 \\x41 \\0"_s;
        QTest::newRow("null") << u"a\0b"_s;
        QTest::newRow("byte order mark") << u"\uFEFFa"_s;
        QTest::newRow("escape then digit") << u"\x01"
                                              "f\x02"
                                              "9"_s;
        QTest::newRow("number") << u"0012"_s;
    }

    void textsRoundTrip() {
        QFETCH(const QString, value);
        const TestHome home;
        QVERIFY(SettingsStore().setText(slug, value));
        QCOMPARE(SettingsStore().text(slug, u"none"_s), value);
        // Once more over the written file, which must still be understood.
        QVERIFY(SettingsStore().setInteger(port, 1));
        QCOMPARE(SettingsStore().text(slug, u"none"_s), value);
        QVERIFY(!QFileInfo::exists(home.path(fileName) + u".broken"_s));
    }

    void longTextsAreNotStored() {
        const TestHome home;
        const QString longest(6000, u'\u20ac');
        SettingsStore store;
        QVERIFY(store.setText(slug, longest));
        QVERIFY(!store.setText(slug, longest + u'x'));
        QCOMPARE(store.text(slug, QString()), longest + u'x');
        QCOMPARE(SettingsStore().text(slug, QString()), longest);
        home.write(fileName, "broken by hand");
        QVERIFY(store.setInteger(port, 1));
        QCOMPARE(SettingsStore().integer(port, 0), 1);
        QVERIFY(QFileInfo(store.file()).size() < 1000);
    }

    void anyCharactersRoundTrip() {
        const TestHome home;
        QRandomGenerator random(4);
        for (int round = 0; round < 100; ++round) {
            QString value;
            for (int i = 0; i < 12; ++i) {
                value += QChar(static_cast<char16_t>(random.bounded(random.bounded(2) == 0 ? 0x80 : 0x10000)));
            }
            SettingsStore store;
            QVERIFY(store.setText(slug, value));
            const SettingsStore second;
            QCOMPARE(second.text(slug, QString()), store.text(slug, QString()));
            for (qsizetype i = 0; i < value.size(); ++i) {
                const QChar read = second.text(slug, QString())[i];
                QVERIFY(read == value[i] || (value[i].isSurrogate() && read == QChar::ReplacementCharacter));
            }
        }
    }

    void foreignKeysStay() {
        const TestHome home;
        // A backslash parts the groups of a key.
        home.write(fileName, "[General]\nother=a, b\nport=1\n[Window]\ngeometry=@ByteArray(\\x1\\x2)\nlogs\\deep=x\n");
        QVERIFY(SettingsStore().setInteger(port, 2));
        const QByteArray content = contentOf(home.path(fileName));
        QVERIFY2(content.contains("other=a, b\n"), content.constData());
        QVERIFY2(content.contains("geometry=@ByteArray(\\x1\\x2)\n"), content.constData());
        QVERIFY2(content.contains("logs\\deep=x\n"), content.constData());
        QVERIFY2(content.contains("port=2\n"), content.constData());
        QVERIFY(!QFileInfo::exists(home.path(fileName) + u".broken"_s));
    }

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

    /// Qt would take the sizes in them for true.
    void objectsAreNeverReadBack_data() {
        QTest::addColumn<QByteArray>("line");
        const QByteArray object = "Variant(\\0\\0\\0\\x9)";
        QTest::newRow("plain") << "x=@" + object;
        QTest::newRow("quoted") << "x=  \"@" + object + '"';
        QTest::newRow("second of a list") << "x=a, @" + object;
        QTest::newRow("escaped") << "x=\\x40" + object;
        QTest::newRow("escaped with more digits") << "x=\\x10040" + object;
        QTest::newRow("octal") << "x=\\0100" + object;
        QTest::newRow("name within quotes") << "x=@\"" + object + '"';
        QTest::newRow("escaped name") << QByteArray("x=@\\x56") + object.mid(1);
        QTest::newRow("on two lines") << QByteArray("x=@\\\n") + object;
        QTest::newRow("quote on two lines") << QByteArray("x=\"a\n\", @") + object;
        QTest::newRow("carriage return") << "x=b\rx=@" + object;
        QTest::newRow("carriage return in a comment") << ";x\rx=@" + object;
        QTest::newRow("carriage return in a section") << "[x]\rx=@" + object + ']';
        QTest::newRow("unknown escape") << "x=\\)@" + object;
        QTest::newRow("escaped letter") << "x=\\D@" + object;
        QTest::newRow("escape without digits") << "x=\\x@" + object;
        QTest::newRow("escaped equals sign") << "y\\=x=@" + object;
        QTest::newRow("quote in a key") << "y\"=a\n\"=b, @" + object;
        QTest::newRow("date") << QByteArray("x=@DateTime(\\0\\0\\0\\x9)");
    }

    void objectsAreNeverReadBack() {
        QFETCH(const QByteArray, line);
        const TestHome home;
        const QByteArray content = "[General]\nport=4001\n" + line + "\nslug=mine\n";
        home.write(fileName, content);
        SettingsStore store;
        QCOMPARE(store.integer(port, 0), 4001);
        QCOMPARE(store.text(slug, {}), u"mine"_s);
        QVERIFY(!store.text(u"x"_s, {}).contains(u"\\x9"_s));
        QVERIFY(store.setInteger(port, 4002));
        QCOMPARE(contentOf(home.path(fileName) + u".broken"_s), content);
        QCOMPARE(SettingsStore().text(slug, {}), u"mine"_s);
        QCOMPARE(SettingsStore().integer(port, 0), 4002);
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

ORVANEL_TEST(TestSettingsStore)
#include "TestSettingsStore.moc"
