#include "TlsServer.h"
#include "release/ReleaseClient.h"
#include "standin/kuma/KumaServer.h"
#include "support/Await.h"
#include "support/FakeClock.h"
#include "support/TestClass.h"

#include <QSslConfiguration>
#include <QTcpServer>

using namespace Qt::StringLiterals;
using namespace orvanel;
using namespace orvanel::test;
using namespace std::chrono_literals;

namespace {

const auto path = u"/repos/owner/name/releases/latest"_s;

QUrl endpoint(int port, const QString& scheme = u"http"_s) {
    return QUrl(u"%1://127.0.0.1:%2%3"_s.arg(scheme).arg(port).arg(path));
}

QByteArray rule(const QByteArray& mood) {
    return "path " + path.toLatin1() + ' ' + mood + '\n';
}

QByteArray releaseText(const char* tag) {
    return "text=" +
           (QByteArray("{\"tag_name\":\"") + tag + "\",\"html_url\":\"https://x.example/r\"}").toPercentEncoding();
}

ReleaseResult release(const char* version) {
    return LatestRelease{.version = QString::fromLatin1(version), .page = u"https://x.example/r"_s};
}

QString sentence(const ReleaseResult& result) {
    const auto* error = std::get_if<ReleaseError>(&result);
    return error ? error->message : QString();
}

/// The values of the headers of that name, in upper or lower case.
QStringList valuesOf(const QString& name, const QStringList& headers) {
    QStringList values;
    for (const QString& header : headers) {
        const auto colon = header.indexOf(u": "_s);
        if (header.left(colon).compare(name, Qt::CaseInsensitive) == 0) {
            values << header.mid(colon + 2);
        }
    }
    return values;
}

/// Sets a variable of the environment while this object lives.
class Variable {
public:
    Variable(const char* name, const QByteArray& value)
        : m_name(name) {
        qputenv(m_name, value);
    }
    ~Variable() { qunsetenv(m_name); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* m_name;
};

} // namespace

/// The client against real servers, all of them on this computer.
class TestReleaseClient : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        for (const char* name :
             {"http_proxy", "https_proxy", "all_proxy", "no_proxy", "HTTPS_PROXY", "ALL_PROXY", "NO_PROXY"}) {
            qunsetenv(name);
        }
    }

    void asksTheProjectOverTls() {
        const QUrl address = ReleaseClient::projectEndpoint();
        QCOMPARE(address.scheme(), u"https"_s);
        QVERIFY(address.path().endsWith(u"/releases/latest"_s));
    }

    void newestReleaseIsRead() {
        const KumaServer server(rule(releaseText("v2.1.0")));
        FakeClock clock;
        ReleaseClient client(clock, endpoint(server.port()));
        QCOMPARE(await(client.fetch()), release("2.1.0"));
        QCOMPARE(await(client.fetch()), release("2.1.0"));
        const auto requests = server.requests();
        QCOMPARE(requests.size(), 2);
        QCOMPARE(requests.first().method, u"GET"_s);
        QCOMPARE(requests.first().path, path);
        const QStringList headers = requests.first().headers.split(u" | "_s);
        QCOMPARE(valuesOf(u"User-Agent"_s, headers), QStringList{u"Orvanel"_s});
        QCOMPARE(valuesOf(u"Accept"_s, headers), QStringList{u"application/vnd.github+json"_s});
        for (const QString& header : headers) {
            QVERIFY(!header.startsWith(u"Authorization"_s, Qt::CaseInsensitive));
            QVERIFY(!header.startsWith(u"Cookie"_s, Qt::CaseInsensitive));
        }
        QCOMPARE(clock.pendingTimers(), 0);
    }

    void cookiesAreNotKept() {
        const KumaServer server(rule(releaseText("2") + " header=Set-Cookie:%20id=1"));
        FakeClock clock;
        ReleaseClient client(clock, endpoint(server.port()));
        await(client.fetch());
        await(client.fetch());
        QVERIFY(!server.requests().last().headers.contains(u"Cookie"_s, Qt::CaseInsensitive));
    }

    void answersOfAllSorts_data() {
        QTest::addColumn<QByteArray>("mood");
        QTest::addColumn<QString>("message");
        const auto http = [](int status) { return u"Could not check for updates (HTTP %1)."_s.arg(status); };
        const auto rateLimited = QByteArray("text=%7B%22message%22:%22API%20rate%20limit%20exceeded%22%7D");
        QTest::newRow("rate limited") << rateLimited + " status=403 header=X-RateLimit-Remaining:%200" << http(403);
        QTest::newRow("too many requests") << rateLimited + " status=429 header=Retry-After:%2060" << http(429);
        QTest::newRow("not found") << QByteArray("text=%7B%7D status=404") << http(404);
        QTest::newRow("asks for a password")
            << QByteArray("text=no status=401 header=WWW-Authenticate:%20Basic%20realm=x") << http(401);
        QTest::newRow("broken") << QByteArray("text=oh status=500") << http(500);
        QTest::newRow("broken, without a body") << QByteArray("status=503 size=0") << http(503);
        QTest::newRow("not modified") << QByteArray("status=304") << http(304);
        QTest::newRow("a redirect that leads nowhere") << QByteArray("status=302 text=x") << http(302);
        QTest::newRow("no tag") << QByteArray("text=%7B%22name%22:%222%22%7D") << http(200);
        const auto notJson = u"Could not check for updates: the answer is not valid JSON ("_s;
        QTest::newRow("a page") << QByteArray("text=%3Chtml%3E type=text/html") << notJson;
        QTest::newRow("nothing") << QByteArray("size=0") << notJson;
        const auto tooLarge = u"Could not check for updates: the answer is too large."_s;
        QTest::newRow("a byte too long") << QByteArray("size=1048577") << tooLarge;
        QTest::newRow("endless") << QByteArray("endless") << tooLarge;
        QTest::newRow("endless in chunks") << QByteArray("endless chunked") << tooLarge;
        QTest::newRow("endless until the connection ends") << QByteArray("endless until-close") << tooLarge;
        QTest::newRow("as long as it may be") << QByteArray("size=1M") << notJson;
        const auto failed = u"Could not check for updates: "_s;
        QTest::newRow("closed") << QByteArray("close") << failed;
        QTest::newRow("reset") << QByteArray("reset") << failed;
        QTest::newRow("cut") << QByteArray("size=1000 cut=10") << failed;
        QTest::newRow("not HTTP") << QByteArray("garbage") << failed;
        QTest::newRow("a redirect to itself") << "redirect=" + path.toLatin1() << failed;
        QTest::newRow("a redirect to a file") << QByteArray("redirect=file:///etc/passwd") << http(302);
    }

    void answersOfAllSorts() {
        QFETCH(const QByteArray, mood);
        QFETCH(const QString, message);
        const KumaServer server(rule(mood));
        FakeClock clock;
        ReleaseClient client(clock, endpoint(server.port()));
        const QString told = sentence(await(client.fetch()));
        QVERIFY2(told.startsWith(message), qPrintable(told));
        QVERIFY2(told.endsWith(u'.') && told.size() > u"Could not check for updates: ."_s.size(), qPrintable(told));
        QVERIFY2(!told.contains(u"127.0.0.1"_s), qPrintable(told));
        QVERIFY(server.requests().size() < 10);
        // The next request starts afresh.
        server.script(rule(releaseText("3")));
        QCOMPARE(await(client.fetch()), release("3"));
    }

    void redirectIsFollowed() {
        const KumaServer server(rule("redirect=/moved") + "path /moved " + releaseText("v9") + '\n');
        FakeClock clock;
        ReleaseClient client(clock, endpoint(server.port()));
        QCOMPARE(await(client.fetch()), release("9"));
    }

    void tenSecondsInAll_data() {
        QTest::addColumn<QByteArray>("mood");
        QTest::newRow("no answer") << QByteArray("stall");
        QTest::newRow("half an answer") << QByteArray("size=1000 stall-after=10");
        QTest::newRow("a byte now and then") << releaseText("2") + " drip=60000";
        QTest::newRow("a failure without an end") << QByteArray("status=500 size=1000 stall-after=10");
    }

    void tenSecondsInAll() {
        QFETCH(const QByteArray, mood);
        const KumaServer server(rule(mood));
        FakeClock clock;
        ReleaseClient client(clock, endpoint(server.port()));
        auto answer = client.fetch();
        QVERIFY(waitUntil([&] { return !server.requests().isEmpty(); }));
        clock.advance(9999ms);
        drainEvents();
        QVERIFY(!answer.isReady());
        clock.advance(1ms);
        QCOMPARE(sentence(await(std::move(answer))), u"Could not check for updates: the request timed out."_s);
    }

    void noNetwork() {
        QTcpServer nobody;
        QVERIFY(nobody.listen(QHostAddress::LocalHost));
        const int port = nobody.serverPort();
        nobody.close();
        FakeClock clock;
        ReleaseClient client(clock, endpoint(port));
        QCOMPARE(sentence(await(client.fetch())), u"Could not check for updates: Connection refused."_s);
    }

    void endOfTheClientEndsTheRequest() {
        const KumaServer server(rule("stall"));
        FakeClock clock;
        auto client = std::make_unique<ReleaseClient>(clock, endpoint(server.port()));
        auto answer = client->fetch();
        QVERIFY(waitUntil([&] { return !server.requests().isEmpty(); }));
        client.reset();
        QCOMPARE(sentence(await(std::move(answer))), u"Could not check for updates: the request was cancelled."_s);
        QCOMPARE(clock.pendingTimers(), 0);
    }

    void proxyOfTheEnvironmentIsAsked() {
        const QByteArray address = "http://release.example" + path.toLatin1();
        const KumaServer proxy("path " + address + ' ' + releaseText("4") + '\n');
        const Variable variable("http_proxy", "http://127.0.0.1:" + QByteArray::number(proxy.port()));
        FakeClock clock;
        ReleaseClient client(clock, QUrl(QString::fromLatin1(address)));
        QCOMPARE(await(client.fetch()), release("4"));
        QCOMPARE(proxy.requests().size(), 1);
        QCOMPARE(proxy.requests().first().path, QString::fromLatin1(address));
        QCOMPARE(proxy.requests().first().host, u"release.example"_s);
    }

    void proxyIsAskedForATunnelWithTls() {
        const KumaServer proxy("path release.example:443 status=503 text=no\n");
        const Variable variable("https_proxy", "http://127.0.0.1:" + QByteArray::number(proxy.port()));
        FakeClock clock;
        ReleaseClient client(clock, QUrl(u"https://release.example"_s + path));
        const QString told = sentence(await(client.fetch()));
        QVERIFY2(told.startsWith(u"Could not check for updates: "_s), qPrintable(told));
        QCOMPARE(proxy.requests().first().method, u"CONNECT"_s);
        QCOMPARE(proxy.requests().first().path, u"release.example:443"_s);
    }

    void thisMachineIsNeverReachedThroughAProxy() {
        const KumaServer proxy;
        const KumaServer server(rule(releaseText("5")));
        const QByteArray address = "http://127.0.0.1:" + QByteArray::number(proxy.port());
        const Variable http("http_proxy", address);
        const Variable all("all_proxy", address);
        FakeClock clock;
        ReleaseClient client(clock, endpoint(server.port()));
        QCOMPARE(await(client.fetch()), release("5"));
        QVERIFY(proxy.requests().isEmpty());
    }

    void certificateOfAStrangerIsRefused() {
        TlsServer server;
        server.answer("HTTP/1.1 200 OK\r\nContent-Length: 16\r\n\r\n{\"tag_name\":\"6\"}");
        FakeClock clock;
        ReleaseClient client(clock, endpoint(server.port(), u"https"_s));
        const QString told = sentence(await(client.fetch()));
        QVERIFY2(told.startsWith(u"Could not check for updates: "_s), qPrintable(told));
        QVERIFY2(told.contains(u"certificate"_s), qPrintable(told));
        QCOMPARE(server.requests(), 0);
    }

    void redirectFromTlsToPlainTextIsRefused() {
        TlsServer server;
        const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
        QSslConfiguration trusting = before;
        trusting.addCaCertificate(server.certificate());
        QSslConfiguration::setDefaultConfiguration(trusting);
        const auto restore = qScopeGuard([&] { QSslConfiguration::setDefaultConfiguration(before); });

        FakeClock clock;
        ReleaseClient client(clock, endpoint(server.port(), u"https"_s));
        server.answer("HTTP/1.1 200 OK\r\nContent-Length: 16\r\n\r\n{\"tag_name\":\"7\"}");
        QCOMPARE(await(client.fetch()), ReleaseResult(LatestRelease{.version = u"7"_s}));

        const KumaServer plain(rule(releaseText("8")));
        server.answer("HTTP/1.1 302 Found\r\nContent-Length: 0\r\nLocation: http://127.0.0.1:" +
                      QByteArray::number(plain.port()) + path.toLatin1() + "\r\n\r\n");
        const QString told = sentence(await(client.fetch()));
        QVERIFY2(told.startsWith(u"Could not check for updates: "_s), qPrintable(told));
        QVERIFY(plain.requests().isEmpty());
        QCOMPARE(server.requests(), 2);
    }
};

ORVANEL_TEST(TestReleaseClient)
#include "TestReleaseClient.moc"
