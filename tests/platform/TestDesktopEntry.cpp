#include "platform/DesktopEntry.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;

class TestDesktopEntry : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void onlyTheMainGroupIsRead() {
        const auto entry = DesktopEntry::parse("# comment\n\n[Desktop Entry]\nHidden=true\n Name = A \nName[de]=B\n"
                                               "[Desktop Action x]\nHidden=false\nExec=other\n");
        QVERIFY(entry);
        QVERIFY(entry->isTrue("Hidden"));
        QVERIFY(!entry->isFalse("Hidden"));
        QCOMPARE(entry->value("Name"), u"A"_s);
        QVERIFY(!entry->value("Exec"));
        QVERIFY(!entry->isTrue("Exec") && !entry->isFalse("Exec"));
    }

    void everythingElseStays() {
        auto entry = DesktopEntry::parse("# comment\n[Desktop Entry]\nName[de]=B\nHidden=true\nX-Mine=\xc3\xa4\n\n"
                                         "[Desktop Action x]\nHidden=true\n");
        QVERIFY(entry);
        entry->setValue("Hidden", u"false"_s);
        entry->setValue("Exec", u"a"_s);
        entry->setDefault("Exec", u"b"_s);
        entry->setDefault("Icon", u"c"_s);
        QCOMPARE(entry->content(), QByteArray("# comment\n[Desktop Entry]\nName[de]=B\nHidden=false\nX-Mine=\xc3\xa4\n"
                                              "Exec=a\nIcon=c\n\n[Desktop Action x]\nHidden=true\n"));
    }

    void whatIsNoEntryIsRefused_data() {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("no group") << QByteArray("Hidden=true\n");
        QTest::newRow("other group first") << QByteArray("[Other]\na=b\n[Desktop Entry]\nName=a\n");
        QTest::newRow("no key") << QByteArray("[Desktop Entry]\nwords\n");
        QTest::newRow("nameless key") << QByteArray("[Desktop Entry]\n=a\n");
        QTest::newRow("not UTF-8") << QByteArray("[Desktop Entry]\nName=\xff\n");
        QTest::newRow("cut within a character") << QByteArray("[Desktop Entry]\nName=\xc3");
        QTest::newRow("null") << QByteArray("[Desktop Entry]\nName=a\0b\n", 25);
    }

    void whatIsNoEntryIsRefused() {
        QFETCH(const QByteArray, content);
        QVERIFY(!DesktopEntry::parse(content));
    }

    void valuesRoundTrip_data() {
        QTest::addColumn<QString>("value");
        QTest::newRow("plain") << u"plain"_s;
        QTest::newRow("empty") << QString();
        QTest::newRow("blanks") << u"  a b"_s;
        QTest::newRow("blanks at the end") << u"/opt/a  "_s;
        QTest::newRow("blank") << u" "_s;
        QTest::newRow("lines") << u"a\nb\tc\rd"_s;
        QTest::newRow("backslashes") << u"\\n \\\\ \\"_s;
        QTest::newRow("equals") << u"a=b [c] #d"_s;
    }

    void valuesRoundTrip() {
        QFETCH(const QString, value);
        DesktopEntry entry;
        entry.setValue("Key", value);
        const auto second = DesktopEntry::parse(entry.content());
        QVERIFY(second);
        QCOMPARE(second->value("Key").value_or(u"none"_s), value);
    }

    void execLinesAreSplit_data() {
        QTest::addColumn<QString>("exec");
        QTest::addColumn<QStringList>("arguments");
        const auto list = [](const char* words) { return QString::fromLatin1(words).split(u'|'); };
        QTest::newRow("plain") << u"/usr/bin/a -b  c"_s << list("/usr/bin/a|-b|c");
        QTest::newRow("quoted") << u"\"/a b/c\" \"\" d"_s << list("/a b/c||d");
        QTest::newRow("escapes") << u"\"a\\\"b\\`c\\$d\\\\e\""_s << list("a\"b`c$d\\e");
        QTest::newRow("percent") << u"a%%b %U %f"_s << list("a%b");
        QTest::newRow("open quote") << u"a \"b c"_s << list("a|b c");
        QTest::newRow("last backslash") << u"a\\"_s << list("a\\");
        QTest::newRow("last percent") << u"a%"_s << list("a%");
        QTest::newRow("nothing") << u"  "_s << QStringList();
    }

    void execLinesAreSplit() {
        QFETCH(const QString, exec);
        QTEST(execline::arguments(exec), "arguments");
    }

    void quotingFollowsTheRules() {
        QCOMPARE(execline::quoted(u"/a b/50%"_s), u"\"/a b/50%%\""_s);
        QCOMPARE(execline::quoted(u"\"`$\\"_s), u"\"\\\"\\`\\$\\\\\""_s);
    }
};

ORVANEL_TEST(TestDesktopEntry)
#include "TestDesktopEntry.moc"
