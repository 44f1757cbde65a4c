#include "controller/Conversion.h"
#include "controller/ImageTag.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;

Q_DECLARE_METATYPE(orvanel::ConversionLog::Says)

namespace {

using Says = ConversionLog::Says;

QString progress(const QString& share) {
    return u"\x1b[36m2026-11-21T03:36:54Z\x1b[0m [\x1b[38;5;117mDB\x1b[0m] \x1b[36mINFO:\x1b[0m [DON'T STOP] Migrating "
           "monitor 7s' (3 of 12 total) data - 2024-05-01 - total migration progress %1\n"_s.arg(share);
}

const auto welcome = u"2026-11-21T03:36:50Z [SERVER] INFO: Welcome to Uptime Kuma\n"_s;
const auto clearing = u"2026-11-21T03:40:54Z [DB] INFO: Clearing non-important heartbeats\n"_s;
const auto completed = u"2026-11-21T03:50:54Z [DB] INFO: Aggregate Table Migration Completed\n"_s;
const auto listening = u"2026-11-21T03:50:55Z [SERVER] INFO: Listening on:\n"_s;
const auto failed =
    u"2026-11-21T03:36:54Z [SERVER] ERROR: Failed to prepare your database: Aggregate table migration is "
    "already in progress\n    at Database.migrateAggregateTable\n"_s;

} // namespace

/// What the log says of a conversion, and what the user is told.
class TestConversion : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void logIsReadFromItsEnd_data() {
        QTest::addColumn<QString>("log");
        QTest::addColumn<Says>("says");
        QTest::addColumn<int>("percent");
        const auto row = [](const char* name, const QString& log, Says says, int percent = -1) {
            QTest::newRow(name) << log << says << percent;
        };
        row("empty", {}, Says::nothing);
        row("only line ends", u"\n\n\r\n"_s, Says::nothing);
        row("something else", u"Server type: sqlite\n"_s, Says::nothing);
        row("just started", welcome, Says::nothing);
        row("at work", welcome + progress(u"41.67%"_s), Says::converting, 41);
        row("the last of many", progress(u"2.00%"_s).repeated(2000) + progress(u"99.99%"_s), Says::converting, 99);
        row("begins", progress(u"0.00%"_s), Says::converting, 0);
        row("all", progress(u"100.00%"_s), Says::converting, 100);
        row("whole number", progress(u"7%"_s), Says::converting, 7);
        row("blank before the sign", progress(u"7.5 %"_s), Says::converting, 7);
        row("no share", progress({}), Says::converting);
        row("not a number", progress(u"NaN%"_s), Says::converting);
        row("negative", progress(u"-3.00%"_s), Says::converting);
        row("over all", progress(u"250.00%"_s), Says::converting);
        row("absurd", progress(u"99999999999999999999%"_s), Says::converting);
        row("another server's line behind", progress(u"41.67%"_s) + u"something\n"_s, Says::converting, 41);
        row("clearing", progress(u"100.00%"_s) + clearing, Says::converting);
        row("completed", clearing + completed, Says::ended);
        row("nothing to convert", welcome + listening, Says::ended);
        row("stopped and started", progress(u"41.67%"_s) + welcome, Says::nothing);
        row("interrupted", welcome + failed, Says::interrupted);
        row("interrupted, starting again", welcome + failed + welcome, Says::interrupted);
        row("interrupted, and converting other data", failed + welcome + progress(u"5.00%"_s), Says::converting, 5);
        row("interrupted, and well again", failed + welcome + listening, Says::ended);
        row("started twice", failed + welcome + welcome, Says::nothing);
        row("cut", u"[DON'T STOP] Migrating monitor 7s' (3 of 12 total) data - 2024-05-01 - total migration prog"_s,
            Says::converting);
    }
    void logIsReadFromItsEnd() {
        QFETCH(const QString, log);
        QFETCH(const int, percent);
        const ConversionLog read = readConversionLog(log);
        QTEST(read.says, "says");
        QCOMPARE(read.percent.value_or(-1), percent);
    }

    void sentenceHasTheShareWhereItIsKnown() {
        QCOMPARE(conversionSentence({.percent = 41}),
                 u"Uptime Kuma is converting its data for the new version (41 %)."_s);
        QCOMPARE(conversionSentence({}), u"Uptime Kuma is converting its data for the new version."_s);
    }

    void versionTwoConvertsOldData_data() {
        QTest::addColumn<bool>("converts");
        for (const char* tag : {"2", "2.0.0-beta.1", "2-slim", "2.5.3", "3", "10.1"}) {
            QTest::newRow(tag) << true;
        }
        for (const char* tag : {"", "1", "1.23.16", "latest", "beta", "v2", "0", "20261121", "-2"}) {
            QTest::newRow(*tag == '\0' ? "(empty)" : tag) << false;
        }
    }
    void versionTwoConvertsOldData() {
        const QString tag = QString::fromUtf8(QTest::currentDataTag());
        QTEST(convertsOldData(tag == u"(empty)" ? QString() : tag), "converts");
    }
};

ORVANEL_TEST(TestConversion)
#include "TestConversion.moc"
