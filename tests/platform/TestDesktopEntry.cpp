#include "platform/DesktopEntry.h"
#include "platform/ExecLine.h"

#include <QTest>

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
        QCOMPARE(entry->value("Name"), QStringLiteral("A"));
        QVERIFY(!entry->value("Exec"));
        QVERIFY(!entry->isTrue("Exec") && !entry->isFalse("Exec"));
    }

    void everythingElseStays() {
        auto entry = DesktopEntry::parse("# comment\n[Desktop Entry]\nName[de]=B\nHidden=true\nX-Mine=\xc3\xa4\n\n"
                                         "[Desktop Action x]\nHidden=true\n");
        QVERIFY(entry);
        entry->setValue("Hidden", QStringLiteral("false"));
        entry->setValue("Exec", QStringLiteral("a"));
        entry->setDefault("Exec", QStringLiteral("b"));
        entry->setDefault("Icon", QStringLiteral("c"));
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
        QTest::newRow("plain") << QStringLiteral("plain");
        QTest::newRow("empty") << QString();
        QTest::newRow("blanks") << QStringLiteral("  a b");
        QTest::newRow("blanks at the end") << QStringLiteral("/opt/a  ");
        QTest::newRow("blank") << QStringLiteral(" ");
        QTest::newRow("lines") << QStringLiteral("a\nb\tc\rd");
        QTest::newRow("backslashes") << QStringLiteral("\\n \\\\ \\");
        QTest::newRow("equals") << QStringLiteral("a=b [c] #d");
    }

    void valuesRoundTrip() {
        QFETCH(const QString, value);
        DesktopEntry entry;
        entry.setValue("Key", value);
        const auto second = DesktopEntry::parse(entry.content());
        QVERIFY(second);
        QCOMPARE(second->value("Key").value_or(QStringLiteral("none")), value);
    }

    void execLinesAreSplit_data() {
        QTest::addColumn<QString>("exec");
        QTest::addColumn<QStringList>("arguments");
        const auto list = [](const char* words) { return QString::fromLatin1(words).split(u'|'); };
        QTest::newRow("plain") << QStringLiteral("/usr/bin/a -b  c") << list("/usr/bin/a|-b|c");
        QTest::newRow("quoted") << QStringLiteral("\"/a b/c\" \"\" d") << list("/a b/c||d");
        QTest::newRow("escapes") << QStringLiteral("\"a\\\"b\\`c\\$d\\\\e\"") << list("a\"b`c$d\\e");
        QTest::newRow("percent") << QStringLiteral("a%%b %U %f") << list("a%b");
        QTest::newRow("open quote") << QStringLiteral("a \"b c") << list("a|b c");
        QTest::newRow("last backslash") << QStringLiteral("a\\") << list("a\\");
        QTest::newRow("last percent") << QStringLiteral("a%") << list("a%");
        QTest::newRow("nothing") << QStringLiteral("  ") << QStringList();
    }

    void execLinesAreSplit() {
        QFETCH(const QString, exec);
        QTEST(execline::arguments(exec), "arguments");
    }

    void quotingFollowsTheRules() {
        QCOMPARE(execline::quoted(QStringLiteral("/a b/50%")), QStringLiteral("\"/a b/50%%\""));
        QCOMPARE(execline::quoted(QStringLiteral("\"`$\\")), QStringLiteral("\"\\\"\\`\\$\\\\\""));
    }
};

QTEST_GUILESS_MAIN(TestDesktopEntry)
#include "TestDesktopEntry.moc"
