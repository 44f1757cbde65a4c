#include "standin/kuma/KumaServer.h"
#include "statuspage/StatusPageClient.h"
#include "support/Await.h"
#include "support/FakeClock.h"
#include "support/TestClass.h"
#include "task/Clock.h"

#include <QTcpServer>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;

namespace {

const QByteArray emptyPage = R"({"publicGroupList":[]})";

QString sentence(const StatusPageResult& result) {
    const auto* error = std::get_if<StatusPageError>(&result);
    return error ? error->message : QString();
}

QString httpSentence(const char* code) {
    return u"Could not read the status page (HTTP %1)."_s.arg(QLatin1String(code));
}

QStringList pathsOf(const KumaServer& server) {
    QStringList paths;
    for (const KumaServer::Request& request : server.requests()) {
        paths << request.path;
    }
    return paths;
}

/// A port of 127.0.0.1 that nothing listens on.
int closedPort() {
    QTcpServer server;
    return server.listen(QHostAddress::LocalHost) ? server.serverPort() : -1;
}

} // namespace

class TestStatusPageClient : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void readsAPage() {
        const KumaServer server;
        server.page(u"home"_s, R"({"config":{"title":"Home"},"publicGroupList":[
            {"name":"Core","monitorList":[{"id":1,"name":"Web"},{"id":2}]}]})");
        server.heartbeat(u"home"_s, R"({"heartbeatList":{"1":[{"status":0,"ping":null},
            {"status":1,"ping":12}]},"uptimeList":{"1_24":0.5}})");
        StatusPageClient client(SystemClock::instance());
        const StatusPageResult result = await(client.fetch(server.port(), u"home"_s));
        const QString core = u"Core"_s;
        const auto beats = std::make_shared<Heartbeats::Block>();
        beats->emplace_back(std::nullopt, 0, std::nullopt);
        beats->emplace_back(std::nullopt, 1, 12);
        const StatusPageData expected{
            u"Home"_s, {{1, u"Web"_s, core, 1, 12, 0.5, {beats, 0, 2}}, {2, u"Monitor 2"_s, core, {}, {}, {}}}};
        QCOMPARE(result, StatusPageResult(expected));
    }

    void asksTheTwoAddressesOneAfterTheOther() {
        const KumaServer server;
        server.page(u"home"_s, emptyPage);
        server.script("path /api/status-page/home delay=200");
        FakeClock clock;
        StatusPageClient client(clock);
        auto reading = client.fetch(server.port(), u"home"_s);
        QVERIFY(waitUntil([&] { return server.requests().size() == 1; }));
        QVERIFY(!reading.isReady());
        QCOMPARE(sentence(await(std::move(reading))), QString());
        const auto requests = server.requests();
        QCOMPARE(pathsOf(server), QStringList({u"/api/status-page/home"_s, u"/api/status-page/heartbeat/home"_s}));
        QCOMPARE(requests.at(0).method, u"GET"_s);
        QCOMPARE(requests.at(0).host, u"127.0.0.1:%1"_s.arg(server.port()));
        QVERIFY(requests.at(0).headers.contains(u"Accept-Encoding: identity"_s, Qt::CaseInsensitive));
    }

    void secondRequestIsNotSentBeforeTheFirstIsAnswered() {
        const KumaServer server("path /api/status-page/home stall-after=5");
        server.page(u"home"_s, emptyPage);
        {
            FakeClock clock;
            StatusPageClient client(clock);
            const auto reading = client.fetch(server.port(), u"home"_s);
            QVERIFY(waitUntil([&] { return !server.requests().isEmpty(); }));
            drainEvents();
            QVERIFY(!reading.isReady());
            QCOMPARE(pathsOf(server), QStringList(u"/api/status-page/home"_s));
        }
        drainEvents();
    }

    void slugsGoOverTheWireAsOneSegment_data() {
        QTest::addColumn<QString>("slug");
        QTest::addColumn<QString>("segment");
        const std::pair<const char16_t*, const char*> slugs[] = {
            {u"home", "home"},
            {u"a/b", "a%2Fb"},
            {u"a b", "a%20b"},
            {u"%2F", "%252F"},
            {u"%zz", "%25zz"},
            {u"%41", "%2541"},
            {u"#top", "%23top"},
            {u"a?b=c", "a%3Fb=c"},
            {u"..", ".."},
            {u".", "."},
            {u"...", "..."},
            {u"..a", "..a"},
            {u"../..", "..%2F.."},
            {u"a:b@c", "a:b@c"},
            {u"a\\b", "a%5Cb"},
            {u"[x]", "%5Bx%5D"},
            {u"{x}", "%7Bx%7D"},
            {u"\"<>|^`", "%22%3C%3E%7C%5E%60"},
            {u"ü☃", "%C3%BC%E2%98%83"},
            {u"\U0001F680", "%F0%9F%9A%80"},
            {u"a\nb", "a%0Ab"},
            {u"\x7f", "%7F"},
            {u"a-._~b", "a-._~b"},
            {u"!$&'()*+,;=:@", "!$&'()*+,;=:@"},
            {u"//evil", "%2F%2Fevil"},
            {u"", ""},
        };
        for (const auto& [slug, segment] : slugs) {
            QTest::addRow("[%s]", segment) << QString::fromUtf16(slug) << QString::fromLatin1(segment);
        }
    }
    void slugsGoOverTheWireAsOneSegment() {
        QFETCH(const QString, slug);
        QFETCH(const QString, segment);
        const KumaServer server(R"(path * text={"publicGroupList":[]})");
        FakeClock clock;
        StatusPageClient client(clock);
        const StatusPageResult result = await(client.fetch(server.port(), slug));
        QCOMPARE(pathsOf(server),
                 QStringList({u"/api/status-page/"_s + segment, u"/api/status-page/heartbeat/"_s + segment}));
        QCOMPARE(result, StatusPageResult(StatusPageData{slug, {}}));
    }

    void everyCharacterOfASlugArrives() {
        const KumaServer server(R"(path * text={"publicGroupList":[]})");
        FakeClock clock;
        StatusPageClient client(clock);
        QString slug;
        for (char16_t c = 0; c < 0x250; ++c) {
            slug += QChar(c);
        }
        QCOMPARE(sentence(await(client.fetch(server.port(), slug))), QString());
        const QString prefix = u"/api/status-page/"_s;
        const QString sent = pathsOf(server).value(0).mid(prefix.size());
        QVERIFY(!sent.contains(u'/'));
        QCOMPARE(QString::fromUtf8(QByteArray::fromPercentEncoding(sent.toLatin1())), slug);
    }

    void slugThatIsNoTextIsNotValid() {
        const KumaServer server;
        FakeClock clock;
        StatusPageClient client(clock);
        const QString notValid = u"Could not read the status page: the slug is not valid."_s;
        QStringList slugs;
        for (const char16_t lone : {u'\xd800', u'\xdc00'}) {
            slugs << u"a"_s + QChar(lone) + u"b"_s;
        }
        for (const QString& slug : slugs) {
            QCOMPARE(sentence(await(client.fetch(server.port(), slug))), notValid);
        }
        QVERIFY(server.requests().isEmpty());
    }

    void impossiblePortsAreNoReasonToCrash_data() {
        QTest::addColumn<int>("port");
        for (const int port :
             {0, -1, -5, 65536, 70000, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
            QTest::addRow("%d", port) << port;
        }
    }
    void impossiblePortsAreNoReasonToCrash() {
        QFETCH(const int, port);
        FakeClock clock;
        StatusPageClient client(clock);
        QVERIFY(await(client.pageAnswers(port)) == PageAnswer::none);
        const QString message = sentence(await(client.fetch(port, u"home"_s)));
        QVERIFY2(message.startsWith(u"Could not read the status page: "_s), qPrintable(message));
        QVERIFY(message.endsWith(u'.'));
    }

    void readinessIsAnyStatusBelow500_data() {
        QTest::addColumn<QByteArray>("mood");
        QTest::addColumn<bool>("answers");
        const std::pair<const char*, bool> moods[] = {
            {"", true}, // 302, as the healthy server does
            {"status=200", true},
            {"status=204", true},
            {"status=304", true},
            {"status=400", true},
            {"status=401", true},
            {"status=404", true},
            {"status=407", true},
            {"status=499", true},
            {"status=500", false},
            {"status=503", false},
            {"status=599", false},
            {"status=600", false},
            {"close", false},
            {"reset", false},
            {"garbage", false},
            {"raw=HTTP/1.1%20", false},
            {"raw=SSH-2.0-x%0D%0A", false},
            {"raw=220%20mail%20ready%0D%0A", false},
            {"raw=HTTP/1.0%20200%20OK%0D%0A%0D%0A", true},
            {"redirect=//other.invalid/", true},
            {"redirect=%zz status=301", true},
            {"header=WWW-Authenticate:%20Basic%20realm=x status=401", true},
            {"header=WWW-Authenticate:%20Negotiate status=401", true},
            {"size=1G", true},
            {"endless chunked", true},
            {"stall-after=0 size=10", true},
            {"drip-body=1000", true},
        };
        for (const auto& [mood, answers] : moods) {
            QTest::addRow("[%s]", mood) << QByteArray(mood) << answers;
        }
    }
    void readinessIsAnyStatusBelow500() {
        QFETCH(const QByteArray, mood);
        QFETCH(const bool, answers);
        const KumaServer server("path / " + mood);
        FakeClock clock;
        StatusPageClient client(clock);
        const PageAnswer answer = await(client.pageAnswers(server.port()));
        QVERIFY(answer == (answers ? PageAnswer::usual : PageAnswer::none));
        // Where the page itself is shown at this address, the server is asked whether it has started.
        const QStringList paths = pathsOf(server);
        QCOMPARE(paths.first(), u"/"_s);
        QVERIFY(paths.size() == 1 || paths.mid(1) == QStringList(u"/api/entry-page"_s));
    }

    void aServerThatHasStartedIsAskedOnce() {
        const KumaServer server;
        FakeClock clock;
        StatusPageClient client(clock);
        QVERIFY(await(client.pageAnswers(server.port())) == PageAnswer::usual);
        QCOMPARE(pathsOf(server), QStringList(u"/"_s));
    }

    void pageThatIsShownAtOnceIsLookedAtOnceMore_data() {
        QTest::addColumn<QByteArray>("entryPage");
        QTest::addColumn<PageAnswer>("answer");
        const std::pair<const char*, PageAnswer> answers[] = {
            {"", PageAnswer::usual},
            {"text={%22type%22:%22statusPageMatchedDomain%22,%22statusPageSlug%22:%22home%22}", PageAnswer::usual},
            {"status=404 type=text/html text=<pre>Cannot%20GET</pre>", PageAnswer::converting},
            {"status=404", PageAnswer::converting},
            {"text=<html>", PageAnswer::strange},
            {"text=", PageAnswer::strange},
            {"text=7", PageAnswer::strange},
            {"size=1G", PageAnswer::strange},
            {"cut=5", PageAnswer::strange},
            {"status=500", PageAnswer::strange},
            {"status=302 redirect=/dashboard", PageAnswer::strange},
            {"close", PageAnswer::strange},
            {"reset", PageAnswer::strange},
            {"garbage", PageAnswer::strange},
        };
        for (const auto& [mood, answer] : answers) {
            QTest::addRow("[%s]", mood) << QByteArray(mood) << answer;
        }
    }
    void pageThatIsShownAtOnceIsLookedAtOnceMore() {
        QFETCH(const QByteArray, entryPage);
        const KumaServer server("path / type=text/html text=<html>\npath /api/entry-page " + entryPage);
        FakeClock clock;
        StatusPageClient client(clock);
        QTEST(await(client.pageAnswers(server.port())), "answer");
        QCOMPARE(pathsOf(server), (QStringList{u"/"_s, u"/api/entry-page"_s}));
    }

    void refusedConnections() {
        const int port = closedPort();
        FakeClock clock;
        StatusPageClient client(clock);
        QVERIFY(await(client.pageAnswers(port)) == PageAnswer::none);
        QCOMPARE(sentence(await(client.fetch(port, u"home"_s))),
                 u"Could not read the status page: the connection was refused."_s);
    }

    void serverBehindDockersProxyIsNotReadyUntilItAnswers() {
        const KumaServer server("path * close");
        FakeClock clock;
        StatusPageClient client(clock);
        QVERIFY(await(client.pageAnswers(server.port())) == PageAnswer::none);
        QVERIFY(await(client.pageAnswers(server.port())) == PageAnswer::none);
        server.script({});
        QVERIFY(await(client.pageAnswers(server.port())) == PageAnswer::usual);
    }

    void aFailedFirstRequestIsTheOnlyOne_data() {
        QTest::addColumn<QByteArray>("mood");
        QTest::addColumn<QString>("message");
        const QString unexpected = u"Could not read the status page (HTTP 200, unexpected answer)."_s;
        const QString closed = u"Could not read the status page: the server closed the connection."_s;
        const QString tooLarge = u"Could not read the status page: the answer is too large."_s;
        QTest::newRow("unknown page") << QByteArray() << httpSentence("404");
        for (const char* code : {"201", "204", "301", "304", "401", "403", "404", "407", "429", "500", "503", "600"}) {
            QTest::newRow(code) << "status=" + QByteArray(code) << httpSentence(code);
        }
        QTest::newRow("another success with JSON") << QByteArray("text={} status=206") << httpSentence("206");
        QTest::newRow("redirect") << QByteArray("redirect=/dashboard") << httpSentence("302");
        QTest::newRow("wants a password")
            << QByteArray("status=401 header=WWW-Authenticate:%20Basic%20realm=x") << httpSentence("401");
        QTest::newRow("empty body") << QByteArray("text=") << unexpected;
        QTest::newRow("web page") << QByteArray("text=<html> type=text/html") << unexpected;
        QTest::newRow("deep nesting") << QByteArray("size=100000 fill=[") << unexpected;
        QTest::newRow("NUL bytes") << QByteArray("size=1000 fill=%00") << unexpected;
        QTest::newRow("packed although not asked")
            << QByteArray("text=%1f%8b%08%00%00%00%00%00 header=Content-Encoding:%20gzip") << unexpected;
        QTest::newRow("garbage") << QByteArray("garbage") << httpSentence("0");
        QTest::newRow("another protocol") << QByteArray("raw=SSH-2.0-OpenSSH%0D%0A") << httpSentence("0");
        QTest::newRow("closed") << QByteArray("close") << closed;
        QTest::newRow("closed in the body") << QByteArray("text={\"publicGroupList\":[]} cut=8") << closed;
        QTest::newRow("closed in a chunked body") << QByteArray("text={} chunked cut=1") << closed;
        QTest::newRow("announces 1 GiB") << QByteArray("size=1G") << tooLarge;
        QTest::newRow("sends 17 MiB in chunks") << QByteArray("size=17M chunked") << tooLarge;
        QTest::newRow("sends 17 MiB until it closes") << QByteArray("size=17M until-close") << tooLarge;
    }
    void aFailedFirstRequestIsTheOnlyOne() {
        QFETCH(const QByteArray, mood);
        QFETCH(const QString, message);
        const KumaServer server("path /api/status-page/home " + mood);
        FakeClock clock;
        StatusPageClient client(clock);
        QCOMPARE(sentence(await(client.fetch(server.port(), u"home"_s))), message);
        QCOMPARE(pathsOf(server), QStringList(u"/api/status-page/home"_s));
    }

    void aResetIsATransportError() {
        const KumaServer server("path * reset");
        FakeClock clock;
        StatusPageClient client(clock);
        const QString message = sentence(await(client.fetch(server.port(), u"home"_s)));
        QCOMPARE(message, u"Could not read the status page: the server closed the connection."_s);
    }

    void aFailedSecondRequestIsToldToo() {
        const KumaServer server("path /api/status-page/heartbeat/home status=503");
        server.page(u"home"_s, emptyPage);
        FakeClock clock;
        StatusPageClient client(clock);
        QCOMPARE(sentence(await(client.fetch(server.port(), u"home"_s))), httpSentence("503"));
        server.script("path /api/status-page/heartbeat/home text=[]");
        QCOMPARE(sentence(await(client.fetch(server.port(), u"home"_s))),
                 u"Could not read the status page (HTTP 200, the answer has an unexpected shape)."_s);
    }

    void aPageOfTheWrongShapeIsToldAfterBothRequests() {
        const KumaServer server("path /api/status-page/home text={}");
        FakeClock clock;
        StatusPageClient client(clock);
        QCOMPARE(sentence(await(client.fetch(server.port(), u"home"_s))),
                 u"Could not read the status page (HTTP 200, the answer has an unexpected shape)."_s);
        QCOMPARE(server.requests().size(), 2);
    }

    void answersInChunksAndUntilTheCloseAreRead() {
        const KumaServer server("path /api/status-page/home chunked\n"
                                "path /api/status-page/heartbeat/home until-close");
        server.page(u"home"_s, emptyPage);
        FakeClock clock;
        StatusPageClient client(clock);
        QCOMPARE(sentence(await(client.fetch(server.port(), u"home"_s))), QString());
        QCOMPARE(server.requests().size(), 2);
    }

    void noticesBeforeTheAnswerAreSkipped() {
        const KumaServer server("path * raw=HTTP/1.1%20100%20Continue%0D%0A%0D%0AHTTP/1.1%20103%20Early%20Hints%0D%0A"
                                "Link:%20x%0D%0A%0D%0AHTTP/1.1%20503%20No%0D%0A%0D%0A");
        FakeClock clock;
        StatusPageClient client(clock);
        QVERIFY(await(client.pageAnswers(server.port())) == PageAnswer::none);
        QCOMPARE(sentence(await(client.fetch(server.port(), u"home"_s))), httpSentence("503"));
    }
};

ORVANEL_TEST(TestStatusPageClient)
#include "TestStatusPageClient.moc"
