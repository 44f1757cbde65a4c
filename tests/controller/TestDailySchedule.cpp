#include "controller/DailySchedule.h"
#include "support/TestClass.h"

#include <QTest>

#include <ctime>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace std::chrono_literals;

namespace {

QDateTime at(const QString& text) {
    return QDateTime::fromString(text, u"yyyy-MM-dd HH:mm"_s);
}

} // namespace

class TestDailySchedule : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// A zone whose clocks change on 29 March and 25 October 2026.
    void initTestCase() {
        qputenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
        ::tzset();
    }
    void cleanupTestCase() {
        qunsetenv("TZ");
        ::tzset();
    }

    void dueOncePerDay_data() {
        QTest::addColumn<QString>("last");
        QTest::addColumn<QString>("now");
        QTest::addColumn<int>("hoursSince");
        QTest::addColumn<bool>("due");
        const auto row = [](const char* name, const char* last, const char* now, int hoursSince, bool due) {
            QTest::newRow(name) << QString::fromLatin1(last) << QString::fromLatin1(now) << hoursSince << due;
        };
        row("none yet", "", "2026-05-05 12:00", -1, true);
        row("the same moment", "2026-05-05 12:00", "2026-05-05 12:00", 0, false);
        row("later that day", "2026-05-05 00:10", "2026-05-05 23:59", 23, false);
        row("the next day", "2026-05-05 12:00", "2026-05-06 00:00", 12, true);
        row("just after midnight", "2026-05-05 23:00", "2026-05-06 00:30", 1, false);
        row("well after midnight", "2026-05-05 23:00", "2026-05-06 05:00", 6, true);
        row("after a sleep of a week", "2026-05-05 12:00", "2026-05-12 09:00", 165, true);
        row("after a start that day", "2026-05-05 08:00", "2026-05-05 20:00", -1, false);
        row("after a start on the next day", "2026-05-05 22:00", "2026-05-06 08:00", -1, true);
        row("after a start just after midnight", "2026-05-05 22:00", "2026-05-06 00:30", -1, false);
        row("a day of 23 hours", "2026-03-29 00:00", "2026-03-30 00:00", 23, true);
        row("the evening of a day of 23 hours", "2026-03-29 00:00", "2026-03-29 23:59", 22, false);
        row("the last minute of a day of 25 hours", "2026-10-25 00:01", "2026-10-25 23:00", 23, false);
        row("after a day of 25 hours", "2026-10-25 00:01", "2026-10-26 00:00", 24, true);
        row("in the hour that comes twice", "2026-10-25 02:30", "2026-10-25 02:10", -1, false);
        row("the clock was set back by an hour over midnight", "2026-05-06 00:10", "2026-05-05 23:20", -1, false);
        row("a start with a clock that was months ahead", "2026-09-01 12:00", "2026-05-05 12:00", -1, true);
        row("set back by months, just now", "2026-09-01 12:00", "2026-05-05 12:00", 1, false);
        row("set back by months, in the morning", "2026-09-01 12:00", "2026-05-05 12:00", 7, true);
        row("set forward by years, just now", "2026-05-05 12:00", "2036-05-05 12:00", 1, false);
        row("set back by 23 hours, a day ago", "2026-05-05 23:30", "2026-05-05 00:30", 24, true);
    }

    void dueOncePerDay() {
        QFETCH(const QString, last);
        QFETCH(const QString, now);
        QFETCH(const int, hoursSince);
        QFETCH(const bool, due);
        std::optional<LastDailyCopy> copy;
        if (!last.isEmpty()) {
            copy = LastDailyCopy{.made = at(last)};
            if (hoursSince >= 0) {
                copy->since = std::chrono::hours(hoursSince);
            }
        }
        QCOMPARE(isDailyCopyDue(at(now), copy), due);
    }
};

ORVANEL_TEST(TestDailySchedule)
#include "TestDailySchedule.moc"
