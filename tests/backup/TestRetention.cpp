#include "backup/Retention.h"

#include "support/TestClass.h"

#include <QStringList>
#include <QTest>

#include <algorithm>
#include <random>

using namespace orvanel;
using namespace Qt::StringLiterals;

namespace {

using Copies = QList<DailyCopy>;

DailyCopy copyOf(const QDate& day, int number, DailyCopy::Check check = DailyCopy::Check::passed) {
    return {.time = dailyTime(QDateTime(day, QTime(12, 0))), .number = number, .check = check};
}

/// "20260105 20260106! 20260107?": the days, in the order of making; "!" did not pass its check, "?" was changed.
Copies parsed(const QString& text) {
    Copies copies;
    const QStringList words = text.split(u' ', Qt::SkipEmptyParts);
    for (const QString& word : words) {
        DailyCopy copy = copyOf(QDate::fromString(word.left(8), u"yyyyMMdd"_s), static_cast<int>(copies.size()) + 1);
        copy.check = word.contains(u'!') ? DailyCopy::Check::failed : DailyCopy::Check::passed;
        copy.isChanged = word.contains(u'?');
        copies << copy;
    }
    return copies;
}

QString text(const Copies& copies) {
    QStringList words;
    for (const DailyCopy& copy : copies) {
        words << copy.time.left(8) + (copy.check == DailyCopy::Check::failed ? u"!"_s : QString());
    }
    return words.join(u' ');
}

/// Days in a row from the first on, and a blank.
QString days(const QDate& first, int count) {
    QString words;
    for (int i = 0; i < count; ++i) {
        words += first.addDays(i).toString(u"yyyyMMdd "_s);
    }
    return words;
}

std::optional<DailyCopy> newestGood(const Copies& copies) {
    const auto found =
        std::find_if(copies.rbegin(), copies.rend(), [](const DailyCopy& copy) { return copy.isGood(); });
    return found == copies.rend() ? std::nullopt : std::optional(*found);
}

Copies changedOnes(Copies copies) {
    copies.removeIf([](const DailyCopy& copy) { return !copy.isChanged; });
    return copies;
}

/// Takes the expired ones away; they expire once.
void prune(Copies& copies) {
    const Copies expired = expiredDailyCopies(copies);
    copies.removeIf([&](const DailyCopy& copy) { return expired.contains(copy); });
    QVERIFY(expiredDailyCopies(copies).isEmpty());
}

/// Prunes right after a copy was made.
void checkPruning(Copies& copies) {
    const DailyCopy made = copies.last();
    const std::optional<DailyCopy> good = newestGood(copies);
    const Copies changed = changedOnes(copies);
    prune(copies);
    QVERIFY(copies.size() - changed.size() <= 12);
    QCOMPARE(changedOnes(copies), changed);
    QCOMPARE(newestGood(copies), good);
    QVERIFY(copies.contains(made) || !made.isGood());
    // A copy that did not pass goes only when another one of that day is there, which did or is younger.
    const auto isOfThatDay = [&made](const DailyCopy& copy) { return copy.day() == made.day(); };
    QVERIFY(std::any_of(copies.begin(), copies.end(), isOfThatDay));
    const Copies weekly = weeklyCopies(copies);
    QVERIFY(weekly.size() <= 4 && !(good && weekly.contains(*good)));
}

} // namespace

class TestRetention : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void bestOfEachDayAndWeekStay_data() {
        QTest::addColumn<QString>("copies");
        QTest::addColumn<QString>("expired");
        QTest::addColumn<QString>("weekly");
        const auto row = [](const char* name, const QString& copies, const QString& expired, const QString& weekly) {
            QTest::newRow(name) << copies << expired << weekly;
        };
        // 5 January 2026 is a Monday.
        const QDate monday(2026, 1, 5);
        row("none", {}, {}, {});
        row("one", u"20260105"_s, {}, {});
        row("seven", days(monday, 7), {}, {});
        row("the eighth stands for its week", days(monday, 8), {}, u"20260105"_s);
        row("the last of a week stays for it", days(monday, 10), u"20260105 20260106"_s, u"20260107"_s);
        row("two weeks", days(monday, 15), days(monday, 6), u"20260111 20260112"_s);
        row("four weeks and no more", days(monday, 42),
            days(monday, 7) + days({2026, 1, 12}, 6) + days({2026, 1, 19}, 6) + days({2026, 1, 26}, 6) +
                days({2026, 2, 2}, 6),
            u"20260118 20260125 20260201 20260208"_s);
        row("two on one day", u"20260105 20260105"_s, u"20260105"_s, {});
        row("of one day the last that passed", u"20260105 20260105 20260105!"_s, u"20260105 20260105!"_s, {});
        row("of one day without any that passed the last", u"20260105! 20260105!"_s, u"20260105!"_s, {});
        row("of a week the last that passed", u"20260105! 20260106 20260107! "_s + days({2026, 1, 12}, 7),
            u"20260105! 20260107!"_s, u"20260106"_s);
        row("holes are no days", u"20250101 20250301 20250501 20250701 20250901 20251101 20260101"_s, {}, {});
        row("a week across the year", u"20251229 20251231 20260101 "_s + days({2026, 1, 12}, 7), u"20251229 20251231"_s,
            u"20260101"_s);
        row("a changed one neither counts nor goes", u"20260105? "_s + days({2026, 1, 6}, 7), {}, {});
        row("a clock that was ahead", days({2030, 1, 5}, 7) + u"20260105"_s, {}, u"20300105"_s);
        row("a clock that was behind", u"20260105 20260106 19700101 19700101 20260107"_s, u"19700101"_s, {});
        row("the last good one outlives all that failed",
            u"20260101 20260105 20260118! 20260125! 20260201! 20260208! 20260216! 20260217! 20260218! 20260219! "
            "20260220! 20260221! 20260222!"_s,
            u"20260101"_s, u"20260118! 20260125! 20260201! 20260208!"_s);
        row("the last good one is no weekly one",
            u"20260105 "_s + u"20260112! 20260113! 20260114! 20260115! 20260116! "
                             "20260117! 20260118!"_s,
            {}, {});
    }

    void bestOfEachDayAndWeekStay() {
        QFETCH(const QString, copies);
        QFETCH(const QString, expired);
        QFETCH(const QString, weekly);
        QCOMPARE(text(expiredDailyCopies(parsed(copies))), expired.trimmed());
        QCOMPARE(text(weeklyCopies(parsed(copies))), weekly);
    }

    void aYearLeavesSevenDaysAndFourWeeks() {
        Copies copies;
        const QDate first(2026, 1, 1);
        for (int day = 0; day < 365; ++day) {
            copies << copyOf(first.addDays(day), day + 1);
            prune(copies);
            // The last seven days, and the last day of each of the four weeks before them, or as much of it as is past.
            QStringList expected;
            for (int back = std::min(day, 6); back >= 0; --back) {
                expected << first.addDays(day - back).toString(u"yyyyMMdd"_s);
            }
            QDate last = first.addDays(day - 7);
            for (int week = 0; week < 4 && last >= first; ++week) {
                expected.prepend(last.toString(u"yyyyMMdd"_s));
                last = last.addDays(-last.dayOfWeek());
            }
            QCOMPARE(text(copies), expected.join(u' '));
        }
    }

    /// Holes, failed checks, several copies a day, changed copies, and a clock that is moved by hours or years.
    void aRoughYearLosesNothing() {
        for (unsigned seed = 1; seed <= 20; ++seed) {
            std::mt19937 random(seed);
            const auto below = [&random](unsigned bound) { return static_cast<int>(random() % bound); };
            Copies copies;
            QDate today(2026, 1, 1);
            for (int number = 1; number <= 365; ++number) {
                const bool isClockMoved = below(100) < 2;
                today = today.addDays(isClockMoved ? below(2000) - 1000 : below(10) < 7 ? 1 : below(20));
                const auto check = below(100) < 25 ? DailyCopy::Check::failed : DailyCopy::Check::passed;
                copies << copyOf(today, number, check);
                checkPruning(copies);
                if (QTest::currentTestFailed()) {
                    return;
                }
                if (below(100) < 3) {
                    copies[below(static_cast<unsigned>(copies.size()))].isChanged = true;
                }
            }
        }
    }
};

ORVANEL_TEST(TestRetention)
#include "TestRetention.moc"
