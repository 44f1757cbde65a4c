#include "statuspage/StatusPageAnswer.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;

namespace {

const QString unexpectedShape = u"Could not read the status page (HTTP 200, the answer has an unexpected shape)."_s;
const QString unexpectedAnswer = u"Could not read the status page (HTTP 200, unexpected answer)."_s;
const QString slug = u"home"_s;
const QByteArray noBeats = R"({"heartbeatList":{},"uptimeList":{}})";

StatusPageResult read(const QByteArray& page, const QByteArray& beats) {
    return readStatusPage(QJsonDocument::fromJson(page), QJsonDocument::fromJson(beats), slug);
}

/// The sentence of a failure; empty after success.
QString sentence(const StatusPageResult& result) {
    const auto* error = std::get_if<StatusPageError>(&result);
    return error ? error->message : QString();
}

QString sentence(const JsonResult& result) {
    const auto* error = std::get_if<StatusPageError>(&result);
    return error ? error->message : QString();
}

QByteArray pageWithMonitors(const QByteArray& monitors) {
    return R"({"publicGroupList":[{"name":"Group","monitorList":)" + monitors + "}]}";
}

/// All rows of a page; none if it could not be read.
QList<MonitorRow> rowsOf(const QByteArray& page, const QByteArray& beats = noBeats) {
    const StatusPageResult result = read(page, beats);
    const auto* data = std::get_if<StatusPageData>(&result);
    return data ? data->monitors : QList<MonitorRow>();
}

/// The row of the monitor with id 7, given these heartbeats.
MonitorRow rowOfSeven(const QByteArray& beats) {
    const QList<MonitorRow> rows = rowsOf(pageWithMonitors(R"([{"id":7,"name":"Seven"}])"), beats);
    return rows.size() == 1 ? rows.first() : MonitorRow{.id = -1};
}

using Integer = std::optional<std::int64_t>;

/// Adds a row with a JSON text for each type but the expected one.
void addRowsOfOtherTypes(const char* expected) {
    QTest::addColumn<QByteArray>("value");
    const std::pair<const char*, const char*> values[] = {
        {"null", "null"},        {"boolean", "true"}, {"number", "1.5"},
        {"string", R"("text")"}, {"array", "[3]"},    {"object", R"({"a":{}})"},
    };
    for (const auto& [type, value] : values) {
        if (qstrcmp(type, expected) != 0) {
            QTest::newRow(type) << QByteArray(value);
        }
    }
}

} // namespace

Q_DECLARE_METATYPE(Integer)

class TestStatusPageAnswer : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void pageMustBeAnObjectWithAListOfGroups_data() {
        QTest::addColumn<QByteArray>("page");
        QTest::newRow("array") << QByteArray("[]");
        QTest::newRow("no list") << QByteArray(R"({"config":{"title":"T"}})");
        for (const char* list : {"null", "true", "1", R"("x")", "{}", "[1]", "[[]]", "[null]", R"([{},"x"])"}) {
            QTest::newRow(list) << R"({"publicGroupList":)" + QByteArray(list) + "}";
        }
    }
    void pageMustBeAnObjectWithAListOfGroups() {
        QFETCH(const QByteArray, page);
        QCOMPARE(sentence(read(page, noBeats)), unexpectedShape);
    }

    void heartbeatsMustBeAnObject() {
        const QByteArray page = R"({"publicGroupList":[]})";
        QCOMPARE(sentence(read(page, "[]")), unexpectedShape);
        QCOMPARE(read(page, "{}"), StatusPageResult(StatusPageData{slug, {}}));
    }

    void titleIsTheSlugWithoutConfig() {
        QCOMPARE(read(R"({"publicGroupList":[]})", "{}"), StatusPageResult(StatusPageData{slug, {}}));
    }
    void titleIsTheSlugWhenConfigIsNoObject_data() { addRowsOfOtherTypes("object"); }
    void titleIsTheSlugWhenConfigIsNoObject() {
        QFETCH(const QByteArray, value);
        const auto result = read(R"({"publicGroupList":[],"config":)" + value + "}", "{}");
        QCOMPARE(result, StatusPageResult(StatusPageData{slug, {}}));
    }
    void titleIsTheSlugWhenItIsNoString_data() { addRowsOfOtherTypes("string"); }
    void titleIsTheSlugWhenItIsNoString() {
        QFETCH(const QByteArray, value);
        const auto result = read(R"({"publicGroupList":[],"config":{"title":)" + value + "}}", "{}");
        QCOMPARE(result, StatusPageResult(StatusPageData{slug, {}}));
    }
    void anEmptyTitleIsATitle() {
        const auto result = read(R"({"publicGroupList":[],"config":{"title":""}})", "{}");
        QCOMPARE(result, StatusPageResult(StatusPageData{QString(), {}}));
    }

    void groupWithoutNameIsEmptyText() {
        const auto rows = rowsOf(R"({"publicGroupList":[{"monitorList":[{"id":1,"name":"A"}]}]})");
        QCOMPARE(rows, QList<MonitorRow>({{1, u"A"_s, QString(), {}, {}, {}}}));
    }
    void groupNameOfAnotherTypeIsEmptyText_data() { addRowsOfOtherTypes("string"); }
    void groupNameOfAnotherTypeIsEmptyText() {
        QFETCH(const QByteArray, value);
        const auto rows = rowsOf(R"({"publicGroupList":[{"name":)" + value + R"(,"monitorList":[{"id":1}]}]})");
        QCOMPARE(rows, QList<MonitorRow>({{1, u"Monitor 1"_s, QString(), {}, {}, {}}}));
    }

    void groupWithoutProperMonitorListHasNoRows_data() {
        QTest::addColumn<QByteArray>("group");
        QTest::newRow("missing") << QByteArray(R"({"name":"X"})");
        for (const char* list : {"null", "true", "1", R"("x")", "{}", "[1]", R"([{"id":5},1])", R"([{"id":5},null])"}) {
            QTest::newRow(list) << R"({"name":"X","monitorList":)" + QByteArray(list) + "}";
        }
    }
    void groupWithoutProperMonitorListHasNoRows() {
        QFETCH(const QByteArray, group);
        const auto rows = rowsOf(R"({"publicGroupList":[)" + group + R"(,{"name":"Y","monitorList":[{"id":2}]}]})");
        QCOMPARE(rows, QList<MonitorRow>({{2, u"Monitor 2"_s, u"Y"_s, {}, {}, {}}}));
    }

    void monitorWithoutNumberAsIdIsSkipped_data() {
        QTest::addColumn<QByteArray>("monitor");
        QTest::newRow("missing") << QByteArray(R"({"name":"X"})");
        for (const char* id : {"null", R"("7")", "[7]", "{}", "1e300", "-1e300", "9223372036854775808",
                               "-9223372036854777856", "123456789012345678901234567890"}) {
            QTest::newRow(id) << R"({"name":"X","id":)" + QByteArray(id) + "}";
        }
    }
    void monitorWithoutNumberAsIdIsSkipped() {
        QFETCH(const QByteArray, monitor);
        const auto rows = rowsOf(pageWithMonitors("[" + monitor + R"(,{"id":8}])"));
        QCOMPARE(rows, QList<MonitorRow>({{8, u"Monitor 8"_s, u"Group"_s, {}, {}, {}}}));
    }

    void idIsTakenAsAnInteger_data() {
        QTest::addColumn<QByteArray>("id");
        QTest::addColumn<qint64>("expected");
        QTest::newRow("one") << QByteArray("1") << qint64(1);
        QTest::newRow("one as a fraction") << QByteArray("1.0") << qint64(1);
        QTest::newRow("zero") << QByteArray("0") << qint64(0);
        QTest::newRow("negative zero") << QByteArray("-0") << qint64(0);
        QTest::newRow("fraction") << QByteArray("7.9") << qint64(7);
        QTest::newRow("negative fraction") << QByteArray("-7.9") << qint64(-7);
        QTest::newRow("exponent") << QByteArray("12e2") << qint64(1200);
        QTest::newRow("tiny") << QByteArray("1e-300") << qint64(0);
        QTest::newRow("beyond doubles") << QByteArray("9007199254740993") << qint64(9007199254740993);
        QTest::newRow("largest") << QByteArray("9223372036854775807") << std::numeric_limits<qint64>::max();
        QTest::newRow("smallest") << QByteArray("-9223372036854775808") << std::numeric_limits<qint64>::min();
    }
    void idIsTakenAsAnInteger() {
        QFETCH(const QByteArray, id);
        QFETCH(const qint64, expected);
        const QByteArray key = QByteArray::number(expected);
        const auto rows = rowsOf(pageWithMonitors(R"([{"id":)" + id + "}]"),
                                 R"({"heartbeatList":{")" + key + R"(":[{"status":1,"ping":2}]},"uptimeList":{")" +
                                     key + R"(_24":0.5}})");
        const QString name = u"Monitor %1"_s.arg(expected);
        QCOMPARE(rows.value(0).beats.size(), 1);
        QCOMPARE(rows, QList<MonitorRow>({{expected, name, u"Group"_s, 1, 2, 0.5, rows[0].beats}}));
    }

    void monitorNameOfAnotherTypeIsItsId_data() { addRowsOfOtherTypes("string"); }
    void monitorNameOfAnotherTypeIsItsId() {
        QFETCH(const QByteArray, value);
        const auto rows = rowsOf(pageWithMonitors(R"([{"id":7,"name":)" + value + "}]"));
        QCOMPARE(rows.value(0).name, u"Monitor 7"_s);
    }
    void anEmptyMonitorNameIsAName() {
        const auto rows = rowsOf(pageWithMonitors(R"([{"id":7,"name":""}])"));
        QCOMPARE(rows, QList<MonitorRow>({{7, QString(), u"Group"_s, {}, {}, {}}}));
    }

    void latestBeatIsTheLastOne() {
        const MonitorRow row = rowOfSeven(
            R"({"heartbeatList":{"7":[{"status":1,"ping":1},{"status":2,"ping":2},{"status":0,"ping":3}]}})");
        QCOMPARE(row.status, Integer(0));
        QCOMPARE(row.ping, Integer(3));
        QCOMPARE(row.uptime24, std::optional<double>());
    }

    void beatsThatSayNothing_data() {
        QTest::addColumn<QByteArray>("answer");
        QTest::newRow("no list") << QByteArray("{}");
        for (const char* list : {"null", "true", "1", R"("x")", R"([{"7":[{"status":1}]}])", "{}"}) {
            QTest::addRow("list %s", list) << R"({"heartbeatList":)" + QByteArray(list) + "}";
        }
        for (const char* beats : {"null", "true", "1", R"("x")", R"({"status":1,"ping":1})", "[]", "[1]", "[null]",
                                  R"([{"status":1,"ping":1},null])", R"([7,{"status":1,"ping":1}])", "[{}]"}) {
            QTest::addRow("beats %s", beats) << R"({"heartbeatList":{"7":)" + QByteArray(beats) + "}}";
        }
        QTest::newRow("other key") << QByteArray(R"({"heartbeatList":{"07":[{"status":1,"ping":1}]}})");
    }
    void beatsThatSayNothing() {
        QFETCH(const QByteArray, answer);
        const MonitorRow expected{7, u"Seven"_s, u"Group"_s, {}, {}, {}};
        QCOMPARE(rowOfSeven(answer), expected);
    }

    void statusAndPingAreIntegersOrNone_data() {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<Integer>("expected");
        const std::pair<const char*, Integer> values[] = {
            {"0", 0},     {"1", 1},       {"3", 3},    {"99", 99},         {"-1", -1},
            {"2.9", 2},   {"0.071", 0},   {"-0.5", 0}, {"1e3", 1000},      {"1e300", {}},
            {"null", {}}, {R"("1")", {}}, {"[1]", {}}, {R"({"a":1})", {}}, {"9e18", 9000000000000000000},
        };
        for (const auto& [value, expected] : values) {
            QTest::newRow(value) << QByteArray(value) << expected;
        }
    }
    void statusAndPingAreIntegersOrNone() {
        QFETCH(const QByteArray, value);
        QFETCH(const Integer, expected);
        const MonitorRow status = rowOfSeven(R"({"heartbeatList":{"7":[{"ping":5,"status":)" + value + "}]}}");
        QCOMPARE(status.status, expected);
        QCOMPARE(status.ping, Integer(5));
        const MonitorRow ping = rowOfSeven(R"({"heartbeatList":{"7":[{"status":5,"ping":)" + value + "}]}}");
        QCOMPARE(ping.ping, expected);
        QCOMPARE(ping.status, Integer(5));
    }

    void uptimeIsReadFromItsOwnKey_data() {
        QTest::addColumn<QByteArray>("list");
        QTest::addColumn<std::optional<double>>("expected");
        const std::pair<const char*, std::optional<double>> lists[] = {
            {R"({"7_24":0.25})", 0.25},
            {R"({"7_24":1})", 1.0},
            {R"({"7_24":0})", 0.0},
            {R"({"7_24":1e300})", 1e300},
            {R"({"7_24":null})", {}},
            {R"({"7_24":"0.5"})", {}},
            {R"({"7_24":[0.5]})", {}},
            {R"({"7_24":{}})", {}},
            {R"({"7_720":0.5,"7":0.5})", {}},
            {R"({"17_24":0.5,"7_240":1})", {}},
            {R"([{"7_24":0.5}])", {}},
            {"null", {}},
            {"1", {}},
            {R"("7_24")", {}},
            {"{}", {}},
        };
        for (const auto& [list, expected] : lists) {
            QTest::newRow(list) << QByteArray(list) << expected;
        }
    }
    void uptimeIsReadFromItsOwnKey() {
        QFETCH(const QByteArray, list);
        QFETCH(const std::optional<double>, expected);
        QCOMPARE(rowOfSeven(R"({"uptimeList":)" + list + "}").uptime24, expected);
    }

    void rowsKeepTheOrderOfTheAnswer() {
        const auto rows = rowsOf(R"({"publicGroupList":[
            {"name":"B","monitorList":[{"id":9},{"id":2}]},{"name":"A","monitorList":[{"id":9},{"id":1}]}]})");
        QList<std::pair<QString, qint64>> order;
        for (const MonitorRow& row : rows) {
            order.append({row.group, row.id});
        }
        const QString a = u"A"_s;
        const QString b = u"B"_s;
        QCOMPARE(order, (QList<std::pair<QString, qint64>>{{b, 9}, {b, 2}, {a, 9}, {a, 1}}));
    }

    /// One monitor is listed very often and has very many beats. The time must grow with the sum of both, not their
    /// product.
    void manyRowsOfOneMonitorShareItsBeats() {
        const QByteArrayList monitors(100'000, R"({"id":7})");
        const QByteArrayList beats(100'000, R"({"status":1})");
        const auto rows = rowsOf(pageWithMonitors("[" + monitors.join(',') + "]"),
                                 R"({"heartbeatList":{"7":[)" + beats.join(',') + "]}}");
        QCOMPARE(rows.size(), 100'000);
        QCOMPARE(rows.last().status, Integer(1));
    }

    void bodiesThatAreNotJson_data() {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("blank") << QByteArray("  \r\n");
        QTest::newRow("html") << QByteArray("<!DOCTYPE html><html></html>");
        QTest::newRow("cut off") << QByteArray(R"({"publicGroupList":[)");
        QTest::newRow("more after the end") << QByteArray("{} {}");
        QTest::newRow("bare number") << QByteArray("42");
        QTest::newRow("bare string") << QByteArray(R"("text")");
        QTest::newRow("bare null") << QByteArray("null");
        QTest::newRow("single quotes") << QByteArray("{'a':1}");
        QTest::newRow("not a number") << QByteArray(R"({"a":NaN})");
        QTest::newRow("infinity") << QByteArray(R"({"a":-Infinity})");
        QTest::newRow("invalid UTF-8") << QByteArray("{\"a\":\"\xff\xfe\"}");
        QTest::newRow("half a character") << QByteArray("{\"a\":\"\xf0\x9f\"}");
        QTest::newRow("NUL byte between") << QByteArray("{\"a\":\0 1}", 9);
        QTest::newRow("NUL byte after") << QByteArray("{}\0", 3);
        QTest::newRow("deep arrays") << QByteArray(100'000, '[');
        QTest::newRow("deep closed arrays") << QByteArray(100'000, '[') + QByteArray(100'000, ']');
        QTest::newRow("deep objects") << QByteArray(R"({"a":)").repeated(100'000);
    }
    void bodiesThatAreNotJson() {
        QFETCH(const QByteArray, body);
        QCOMPARE(sentence(readJson(HttpAnswer{200, body})), unexpectedAnswer);
    }

    void bodiesThatAreJson() {
        const QJsonDocument object = QJsonDocument::fromJson("{}");
        QCOMPARE(std::get<QJsonDocument>(readJson(HttpAnswer{200, " {} \n"})), object);
        QCOMPARE(std::get<QJsonDocument>(readJson(HttpAnswer{200, "\xef\xbb\xbf{}"})), object);
        QVERIFY(std::get<QJsonDocument>(readJson(HttpAnswer{200, "[]"})).isArray());
    }

    /// With numbers that no double can hold, the document may be refused or the number be missing, but none may be made
    /// up.
    void hugeNumbersAreNoStatus() {
        const JsonResult beats =
            readJson(HttpAnswer{200, R"({"heartbeatList":{"7":[{"status":)" + QByteArray(5000, '9') + "}]}}"});
        if (const auto* document = std::get_if<QJsonDocument>(&beats)) {
            QCOMPARE(rowOfSeven(document->toJson()).status, Integer());
        } else {
            QCOMPARE(sentence(beats), unexpectedAnswer);
        }
    }

    void otherCodesAreTold() {
        for (const int code : {0, 100, 199, 201, 204, 302, 304, 400, 404, 500, 503, 999}) {
            QCOMPARE(sentence(readJson(HttpAnswer{code, {}})),
                     u"Could not read the status page (HTTP %1)."_s.arg(code));
        }
    }

    void failuresEndTheSentence() {
        QCOMPARE(sentence(readJson(HttpFailure{u"the moon is in the way."_s})),
                 u"Could not read the status page: the moon is in the way."_s);
    }

    void rowsAreEqualFieldByField() {
        const MonitorRow row{1, u"n"_s, u"g"_s, 1, 2, 0.5};
        MonitorRow other = row;
        QVERIFY(row == other);
        other.id = 2;
        QVERIFY(row != other);
        for (const auto change : {+[](MonitorRow& r) { r.name.clear(); }, +[](MonitorRow& r) { r.group.clear(); },
                                  +[](MonitorRow& r) { r.status.reset(); }, +[](MonitorRow& r) { r.ping = 0; },
                                  +[](MonitorRow& r) { r.uptime24.reset(); },
                                  +[](MonitorRow& r) {
                                      const Heartbeat beat({}, 1, {});
                                      r.beats = {std::make_shared<Heartbeats::Block>(1, beat), 0, 1};
                                  }}) {
            other = row;
            change(other);
            QVERIFY(row != other);
        }
    }
};

ORVANEL_TEST(TestStatusPageAnswer)
#include "TestStatusPageAnswer.moc"
