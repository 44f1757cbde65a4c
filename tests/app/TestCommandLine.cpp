#include "app/CommandLine.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;
using Wish = CommandLine::Wish;

class TestCommandLine : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void wordsAndWishes_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("wish");
        QTest::addColumn<QString>("unknown");
        const auto row = [](const char* name, const char* words, Wish wish, const char* unknown = "") {
            QTest::newRow(name) << QString::fromLatin1(words).split(u' ', Qt::SkipEmptyParts) << static_cast<int>(wish)
                                << QString::fromLatin1(unknown);
        };
        row("nothing", "", Wish::run);
        row("help", "--help", Wish::showHelp);
        row("short help", "-h", Wish::showHelp);
        row("version", "--version", Wish::showVersion);
        row("short version", "-v", Wish::showVersion);
        row("what session managers add", "-session 1234_5", Wish::run);
        row("Qt's, both ways", "-platform xcb --style=fusion -reverse", Wish::run);
        row("help after Qt's", "-platform offscreen --help", Wish::showHelp);
        row("a value is no option", "-title --help", Wish::run);
        row("a value that is missing", "-platform", Wish::run);
        row("unknown", "--frobnicate", Wish::refuse, "--frobnicate");
        row("unknown with a value", "--frobnicate=yes", Wish::refuse, "--frobnicate=yes");
        row("unknown after Qt's", "-style fusion -x", Wish::refuse, "-x");
        row("no option at all", "server", Wish::refuse, "server");
        row("Qt's without a dash", "platform", Wish::refuse, "platform");
        row("dashes alone", "--", Wish::refuse, "--");
    }
    void wordsAndWishes() {
        QFETCH(const QStringList, arguments);
        QFETCH(const int, wish);
        QFETCH(const QString, unknown);
        const auto commandLine = CommandLine::of(arguments);
        QCOMPARE(static_cast<int>(commandLine.wish), wish);
        QCOMPARE(commandLine.unknown, unknown);
    }
};

ORVANEL_TEST(TestCommandLine)
#include "TestCommandLine.moc"
