#include "Settings.h"
#include "support/TestClass.h"
#include "support/TestHome.h"

#include <QFileInfo>
#include <QRandomGenerator>
#include <QTest>

#include <climits>
#include <sys/resource.h>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

/// The most memory that this process has used so far, in bytes.
qint64 mostMemoryUsed() {
    struct rusage usage {};
    ::getrusage(RUSAGE_SELF, &usage);
    return qint64{usage.ru_maxrss} * 1024;
}

} // namespace

class TestSettingsStore : public QObject {
    Q_OBJECT

private Q_SLOTS:
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

    void objectsReadAsTheFallback_data() {
        QTest::addColumn<QByteArray>("line");
        const QByteArray object = "Variant(\\0\\0\\0\\x9)";
        QTest::newRow("plain") << "x=@" + object;
        QTest::newRow("quoted") << "x=  \"@" + object + '"';
        QTest::newRow("in a list") << "x=a, @" + object;
        QTest::newRow("escaped") << "x=\\x40" + object;
        QTest::newRow("date") << QByteArray("x=@DateTime(\\0\\0\\0\\x9)");
        QTest::newRow("list that claims 2 GB") << QByteArray("x=@Variant(\\0\\0\\0\\x9\\x4\\0\\0\\0)");
        QTest::newRow("lists in lists") << "x=@Variant(" + QByteArray("\\0\\0\\0\\x9\\0\\0\\0\\x1").repeated(2000) +
                                               ')';
    }

    /// QSettings would ask for as much memory as such an object claims to need.
    void objectsReadAsTheFallback() {
        QFETCH(const QByteArray, line);
        const TestHome home;
        home.write(fileName, "[General]\nport=4001\n" + line + "\nslug=mine\n");
        const qint64 before = mostMemoryUsed();
        SettingsStore store;
        QCOMPARE(store.integer(port, 0), 4001);
        QCOMPARE(store.text(slug, {}), u"mine"_s);
        QCOMPARE(store.text(u"x"_s, u"none"_s), u"none"_s);
        QVERIFY(store.setInteger(port, 4002));
        QCOMPARE(SettingsStore().text(slug, {}), u"mine"_s);
        // The sanitizer's own notes take an eighth of the memory that is asked for.
        QVERIFY(mostMemoryUsed() - before < qint64{512} << 20);
    }

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
        // The written file must be understood when it is written again.
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
        // In a key, a backslash separates the groups.
        home.write(fileName, "[General]\nother=a, b\nport=1\n[Window]\ngeometry=@ByteArray(\\x1\\x2)\nlogs\\deep=x\n");
        QVERIFY(SettingsStore().setInteger(port, 2));
        const QByteArray content = contentOf(home.path(fileName));
        QVERIFY2(content.contains("other=a, b\n"), content.constData());
        QVERIFY2(content.contains("geometry=@ByteArray(\\x1\\x2)\n"), content.constData());
        QVERIFY2(content.contains("logs\\deep=x\n"), content.constData());
        QVERIFY2(content.contains("port=2\n"), content.constData());
        QVERIFY(!QFileInfo::exists(home.path(fileName) + u".broken"_s));
    }
};

ORVANEL_TEST(TestSettingsStore)
#include "TestSettingsStore.moc"
