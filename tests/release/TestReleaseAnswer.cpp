#include "release/ReleaseAnswer.h"
#include "support/TestClass.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace orvanel;

Q_DECLARE_METATYPE(std::optional<QString>)

namespace {

/// Turns single quotes into double quotes, so that JSON is easier to read here.
QByteArray json(QByteArray text) {
    return text.replace('\'', '"');
}

} // namespace

class TestReleaseAnswer : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void tagsBecomeVersions_data() {
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("version");
        const auto row = [](const char* tag, const char* version) {
            QTest::newRow(*tag == '\0' ? "nothing" : tag) << QString::fromUtf8(tag) << QString::fromUtf8(version);
        };
        row("2.0.0", "2.0.0");
        row("v2.0.0", "2.0.0");
        row("V2.0.0", "V2.0.0");
        row("vv2.0.0", "v2.0.0");
        row("1.23.16", "1.23.16");
        row("2.0.0-beta.4", "2.0.0-beta.4");
        row("v2.1.0-beta.0", "2.1.0-beta.0");
        row("nightly", "nightly");
        row(" v2", " v2");
        row("release v2", "release v2");
        row("версия-2", "версия-2");
    }

    void tagsBecomeVersions() {
        QFETCH(const QString, tag);
        QFETCH(const QString, version);
        const QByteArray body = json("{'id': 7, 'tag_name': '" + tag.toUtf8() + "', 'draft': false}");
        QCOMPARE(readRelease(200, body), ReleaseResult(LatestRelease{.version = version}));
    }

    void pageIsTakenAsItStands_data() {
        QTest::addColumn<QByteArray>("field");
        QTest::addColumn<std::optional<QString>>("page");
        using Page = std::optional<QString>;
        QTest::newRow("address") << QByteArray("'html_url': 'https://x.example/2'") << Page(u"https://x.example/2"_s);
        QTest::newRow("empty") << QByteArray("'html_url': ''") << Page(QString());
        QTest::newRow("absent") << QByteArray("'other': 1") << Page();
        QTest::newRow("null") << QByteArray("'html_url': null") << Page();
        QTest::newRow("a number") << QByteArray("'html_url': 5") << Page();
    }

    void pageIsTakenAsItStands() {
        QFETCH(const QByteArray, field);
        QFETCH(const std::optional<QString>, page);
        const QByteArray body = json("{'tag_name': '2', " + field + "}");
        QCOMPARE(readRelease(200, body), ReleaseResult(LatestRelease{.version = u"2"_s, .page = page}));
    }

    void unusableAnswers_data() {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("sentence");
        const auto http = [](int status) { return u"Could not check for updates (HTTP %1)."_s.arg(status); };
        const QByteArray good = json("{'tag_name': '2'}");
        for (const int status : {0, 100, 201, 204, 301, 304, 401, 403, 404, 429, 500, 503}) {
            QTest::addRow("status %d", status) << status << good << http(status);
        }
        for (const char* body : {"{}", "[]", "[{'tag_name': '2'}]", "{'tag_name': 2}", "{'tag_name': null}",
                                 "{'tag_name': ['2']}", "{'Tag_name': '2'}", "{'tag_name': ''}", "{'tag_name': 'v'}",
                                 "{'tag_name': ' '}", "{'tag_name': 'v\\n'}"}) {
            QTest::newRow(body) << 200 << json(body) << http(200);
        }
    }

    void unusableAnswers() {
        QFETCH(const int, status);
        QFETCH(const QByteArray, body);
        QFETCH(const QString, sentence);
        QCOMPARE(readRelease(status, body), ReleaseResult(ReleaseError{sentence}));
    }

    void answersThatAreNotJson_data() {
        QTest::addColumn<QByteArray>("body");
        for (const char* body : {"", "<html>", "'2'", "2", "null", "{'tag_name': '2'", "{'tag_name': '2'} x"}) {
            QTest::newRow(*body == '\0' ? "nothing" : body) << json(body);
        }
        QTest::newRow("not UTF-8") << json("{'tag_name': '\xff\xfe'}");
        QTest::newRow("nested deeply") << QByteArray(5000, '[') + QByteArray(5000, ']');
    }

    void answersThatAreNotJson() {
        QFETCH(const QByteArray, body);
        const ReleaseResult result = readRelease(200, body);
        const auto* error = std::get_if<ReleaseError>(&result);
        QVERIFY(error);
        QVERIFY(error->message.startsWith(u"Could not check for updates: the answer is not valid JSON ("_s));
        QVERIFY(error->message.endsWith(u")."_s));
    }
};

ORVANEL_TEST(TestReleaseAnswer)
#include "TestReleaseAnswer.moc"
