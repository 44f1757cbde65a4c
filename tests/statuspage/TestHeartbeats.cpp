#include "statuspage/StatusPageAnswer.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

/// One heartbeat of an answer.
QByteArray beat(const QByteArray& time, const QByteArray& status, const QByteArray& ping = "null") {
    return R"({"status":)" + status + R"(,"time":")" + time + R"(","msg":"","ping":)" + ping + "}";
}

/// The rows of a page that lists the monitors with these ids.
QList<MonitorRow> rowsOf(const QByteArray& heartbeatList, const QByteArrayList& ids = {"7"}) {
    const QByteArray page = R"({"publicGroupList":[{"monitorList":[{"id":)" + ids.join(R"(},{"id":)") + "}]}]}";
    const QByteArray beats = R"({"heartbeatList":)" + heartbeatList + "}";
    const StatusPageResult result =
        readStatusPage(QJsonDocument::fromJson(page), QJsonDocument::fromJson(beats), u"home"_s);
    const auto* data = std::get_if<StatusPageData>(&result);
    return data ? data->monitors : QList<MonitorRow>();
}

Heartbeats beatsOf(const QByteArrayList& beats) {
    return rowsOf(R"({"7":[)" + beats.join(',') + "]}").value(0).beats;
}

/// Each as "seconds status ping", with a dash for what it does not tell.
QStringList told(const Heartbeats& beats) {
    QStringList all;
    for (const Heartbeat& beat : beats) {
        const QString time = beat.time() ? QString::number(beat.time()->time_since_epoch().count()) : u"-"_s;
        const QString ping = beat.ping() ? QString::number(*beat.ping()) : u"-"_s;
        all << u"%1 %2 %3"_s.arg(time).arg(beat.status()).arg(ping);
    }
    return all;
}

/// A minute each from midnight on.
QByteArray minute(int number) {
    return QTime(0, 0).addSecs(number * 60).toString(u"'2026-11-21 'HH:mm:ss'.000'").toLatin1();
}

constexpr qint64 midnight = 1795219200;

} // namespace

/// The last heartbeats of a monitor.
class TestHeartbeats : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void timesAreReadAsTheyAreWritten_data() {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qint64>("seconds");
        constexpr qint64 none = -1;
        const auto add = [](const QString& text, qint64 seconds) {
            QTest::addRow("\"%s\"", qPrintable(text)) << text << seconds;
        };
        add(u"2026-11-21 03:08:27.601"_s, midnight + 3 * 3600 + 8 * 60 + 27);
        add(u"2026-11-21 03:08:27"_s, midnight + 3 * 3600 + 8 * 60 + 27);
        add(u"2026-11-21 03:08:27.601234567"_s, midnight + 3 * 3600 + 8 * 60 + 27);
        add(u"1970-01-01 00:00:01.000"_s, 1);
        add(u"2024-02-29 23:59:59.999"_s, 1709251199);
        add(u"2100-01-01 00:00:00.000"_s, 4102444800);
        add(u"0000-01-01 00:00:00.000"_s, -62167219200);
        for (const auto* text : {"",
                                 "now",
                                 "1795219200",
                                 "2026-11-21",
                                 "2026-11-21T03:08:27.601Z",
                                 "2026-11-21 03:08:27.601+01:00",
                                 "2026-11-21 03:08:27.",
                                 "2026-11-21 03:08:2",
                                 "2026-02-29 00:00:00.000",
                                 "2026-13-01 00:00:00.000",
                                 "2026-00-01 00:00:00.000",
                                 "2026-11-31 00:00:00.000",
                                 "2026-11-21 24:00:00.000",
                                 "2026-11-21 00:60:00.000",
                                 "2026-11-21 00:00:60.000",
                                 "-026-11-21 03:08:27.601",
                                 " 2026-11-21 03:08:27.601",
                                 "2026/11/21 03:08:27.601",
                                 "2026-11-21 03:08:27,601",
                                 "2026-11-2a 03:08:27.601",
                                 "Invalid date"}) {
            add(QString::fromLatin1(text), none);
        }
        add(u"\u0662\u0660\u0662\u0666-11-21 03:08:27.601"_s, none);
    }
    void timesAreReadAsTheyAreWritten() {
        QFETCH(const QString, text);
        QFETCH(const qint64, seconds);
        const auto time = heartbeatTime(text);
        QCOMPARE(time ? time->time_since_epoch().count() : -1, seconds);
    }

    void eachTellsTimeStatusAndResponseTime() {
        const Heartbeats beats = beatsOf({beat(minute(0), "1", "12"), beat(minute(1), "0"), beat(minute(2), "2", "0"),
                                          beat(minute(3), "3", "0.071"), beat(minute(4), "1", "4567.9")});
        QCOMPARE(told(beats), QStringList({u"%1 1 12"_s.arg(midnight), u"%1 0 -"_s.arg(midnight + 60),
                                           u"%1 2 0"_s.arg(midnight + 120), u"%1 3 0"_s.arg(midnight + 180),
                                           u"%1 1 4567"_s.arg(midnight + 240)}));
        QCOMPARE(beats.fromNewest(0).ping(), std::optional<std::int64_t>(4567));
        QCOMPARE(beats.fromNewest(4).ping(), std::optional<std::int64_t>(12));
    }

    void theLastFiftyAreKept_data() {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("kept");
        QTest::newRow("none") << 0 << 0;
        QTest::newRow("one") << 1 << 1;
        QTest::newRow("fifty") << 50 << 50;
        QTest::newRow("fifty-one") << 51 << 50;
        QTest::newRow("a hundred") << 100 << 50;
        QTest::newRow("very many") << 1000 << 50;
    }
    void theLastFiftyAreKept() {
        QFETCH(const int, count);
        QFETCH(const int, kept);
        QByteArrayList list;
        for (int i = 0; i < count; ++i) {
            list << beat(minute(i), "1", QByteArray::number(i));
        }
        const Heartbeats beats = beatsOf(list);
        QCOMPARE(beats.size(), kept);
        QCOMPARE(beats.isEmpty(), kept == 0);
        for (int i = 0; i < kept; ++i) {
            QCOMPARE(beats.fromNewest(i).ping(), std::optional<std::int64_t>(count - 1 - i));
        }
    }

    void theyStandInTheOrderOfTheirTimes() {
        const QList<MonitorRow> rows = rowsOf(R"({"7":[)" +
                                              QByteArrayList{beat(minute(3), "1", "3"), beat(minute(1), "1", "1"),
                                                             beat(minute(1), "0", "2"), beat(minute(2), "3", "9")}
                                                  .join(',') +
                                              "]}");
        QCOMPARE(told(rows.value(0).beats),
                 QStringList({u"%1 1 1"_s.arg(midnight + 60), u"%1 0 2"_s.arg(midnight + 60),
                              u"%1 3 9"_s.arg(midnight + 120), u"%1 1 3"_s.arg(midnight + 180)}));
        // What the row says of the monitor's present is the last of the answer still.
        QCOMPARE(rows.value(0).status, std::optional<std::int64_t>(3));
        QCOMPARE(rows.value(0).ping, std::optional<std::int64_t>(9));
    }

    /// A paused monitor has none for a while; that of another year is as good as any.
    void gapsAndTimesInTheFutureAreAsTheyAre() {
        const Heartbeats beats = beatsOf({beat("2020-01-01 00:00:00.000", "1"), beat(minute(0), "1"),
                                          beat("2026-12-24 18:00:00.000", "0"), beat("2099-01-01 00:00:00.000", "1")});
        QCOMPARE(told(beats), QStringList({u"1577836800 1 -"_s, u"%1 1 -"_s.arg(midnight), u"1798135200 0 -"_s,
                                           u"4070908800 1 -"_s}));
    }

    void withoutAReadableTimeItStaysWhereItIs() {
        const Heartbeats beats =
            beatsOf({beat("soon", "1", "1"), beat(minute(2), "1", "2"), beat("", "0", "3"), beat(minute(1), "1", "4"),
                     beat("2200-01-01 00:00:00.000", "1", "5"), beat("1969-12-31 23:59:59.000", "1", "6"),
                     R"({"status":1,"time":1795219200,"ping":7})", R"({"status":1,"ping":8})"});
        QStringList pings;
        for (const QString& text : told(beats)) {
            pings << text.section(u' ', 2) + (text.startsWith(u'-') ? u" without time"_s : QString());
        }
        // Beyond 2105 and before 1970 there is no time, either.
        QCOMPARE(pings, QStringList({u"1 without time"_s, u"4"_s, u"5 without time"_s, u"6 without time"_s,
                                     u"7 without time"_s, u"8 without time"_s, u"2"_s, u"3 without time"_s}));
    }

    void withoutAKnownStatusItIsLeftOut() {
        QByteArrayList list;
        for (const char* status : {"1", "4", "-1", "null", R"("1")", "true", "1e300", "255", "3", "0.9"}) {
            list << beat(minute(static_cast<int>(list.size())), status, QByteArray::number(list.size()));
        }
        QCOMPARE(told(beatsOf(list)), QStringList({u"%1 1 0"_s.arg(midnight), u"%1 3 8"_s.arg(midnight + 480),
                                                   u"%1 0 9"_s.arg(midnight + 540)}));
        // They do not count among the fifty.
        const QByteArrayList known(60, beat(minute(0), "1"));
        const QByteArrayList unknown(60, beat(minute(1), "9"));
        QCOMPARE(beatsOf(known + unknown).size(), 50);
    }

    void anAnswerOfAnotherShapeHasNone_data() {
        QTest::addColumn<QByteArray>("list");
        for (const char* list : {"null", "true", "1", R"("x")", "{}", "[]", "[1]", "[null]", "[{}]",
                                 R"([{"status":1},null])", R"([7,{"status":1}])", R"([[{"status":1}]])"}) {
            QTest::newRow(list) << QByteArray(list);
        }
    }
    void anAnswerOfAnotherShapeHasNone() {
        QFETCH(const QByteArray, list);
        QVERIFY(rowsOf(R"({"7":)" + list + "}").value(0).beats.isEmpty());
    }

    void strangeResponseTimesAreNone() {
        QByteArrayList list;
        for (const char* ping : {"-1", "1e300", "9007199254740993", "1073741823", "1073741822", R"("5")", "[]"}) {
            list << beat(minute(static_cast<int>(list.size())), "1", ping);
        }
        const Heartbeats beats = beatsOf(list);
        QCOMPARE(beats.size(), 7);
        for (int i = 0; i < 7; ++i) {
            const auto expected = i == 2 ? std::optional<std::int64_t>(1073741822) : std::nullopt;
            QCOMPARE(beats.fromNewest(i).ping(), expected);
        }
    }

    void eachMonitorHasItsOwn() {
        const QList<MonitorRow> rows = rowsOf(R"({"1":[)" + beat(minute(0), "1", "10") + R"(],"2":[],"3":[)" +
                                                  beat(minute(0), "0") + ',' + beat(minute(1), "1", "30") + "]}",
                                              {"3", "2", "1", "3", "4"});
        QStringList all;
        for (const MonitorRow& row : rows) {
            all << told(row.beats).join(u';');
        }
        const auto three = u"%1 0 -;%2 1 30"_s.arg(midnight).arg(midnight + 60);
        QCOMPARE(all, QStringList({three, QString(), u"%1 1 10"_s.arg(midnight), three, QString()}));
        // One monitor in two groups keeps them once.
        QCOMPARE(rows[0].beats.begin(), rows[3].beats.begin());
    }

    void theyAreEqualOneByOne() {
        const QByteArrayList list{beat(minute(0), "1", "10"), beat(minute(1), "0")};
        const Heartbeats beats = beatsOf(list);
        QVERIFY(beats == beatsOf(list));
        QVERIFY(beats != beatsOf(list.mid(0, 1)));
        QVERIFY(beats != beatsOf({list[0], beat(minute(2), "0")}));
        QVERIFY(beats != beatsOf({list[0], beat(minute(1), "3")}));
        QVERIFY(beats != beatsOf({list[0], beat(minute(1), "0", "0")}));
        QVERIFY(beats != Heartbeats());
        QVERIFY(Heartbeats() == Heartbeats());
    }

    /// Thousands of monitors with fifty each must not be felt.
    void oneTakesEightBytes() {
        QCOMPARE(sizeof(Heartbeat), std::size_t(8));
        const auto block = std::make_shared<Heartbeats::Block>(3, Heartbeat({}, 1, {}));
        const QList<Heartbeats> all{Heartbeats(block, 0, 1), Heartbeats(block, 1, 2)};
        QCOMPARE(all[1].begin(), block->data() + 1);
        const std::weak_ptr<Heartbeats::Block> left = block;
        QCOMPARE(left.use_count(), 3);
    }
};

ORVANEL_TEST(TestHeartbeats)
#include "TestHeartbeats.moc"
