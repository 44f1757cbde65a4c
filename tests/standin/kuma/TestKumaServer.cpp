#include "standin/kuma/KumaServer.h"
#include "support/Await.h"
#include "support/TestClass.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTcpSocket>
#include <QTimeZone>

#include <csignal>

using namespace Qt::StringLiterals;
using namespace orvanel::test;

namespace {

/// One connection to the server, and everything received over it.
class Browser {
public:
    explicit Browser(const KumaServer& server) {
        m_socket.connectToHost(QHostAddress(QHostAddress::LocalHost), static_cast<quint16>(server.port()));
    }

    void send(const QByteArray& bytes) { m_socket.write(bytes); }
    void get(const QByteArray& path) { send("GET " + path + " HTTP/1.1\r\nHost: x\r\n\r\n"); }

    /// Returns false if these bytes do not arrive in time.
    bool sees(const QByteArray& expected) {
        return waitUntil([&] {
            m_received += m_socket.readAll();
            return m_received.contains(expected);
        });
    }

    bool isLeft() {
        return waitUntil([&] { return m_socket.state() == QAbstractSocket::UnconnectedState; });
    }

    QByteArray received() {
        m_received += m_socket.readAll();
        return m_received;
    }

private:
    QTcpSocket m_socket;
    QByteArray m_received;
};

} // namespace

class TestKumaServer : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void conversionIsPlayedToItsEnd() {
        KumaServer server("conversion ms=400 clearing=200");
        const auto answerTo = [&server](const QByteArray& path, const QByteArray& expected) {
            Browser browser(server);
            browser.get(path);
            return browser.sees(expected);
        };
        QVERIFY(answerTo("/", "Migration is in progress"));
        QVERIFY(answerTo("/api/entry-page", "404 "));
        QByteArray output;
        QVERIFY(waitUntil([&] {
            output += server.output();
            return output.contains("Listening on:");
        }));
        QVERIFY(answerTo("/", "/dashboard"));
        const qsizetype share = output.indexOf("[DON'T STOP] Migrating monitor 1s' (1 of 12 total) data - 2024-05-01 - "
                                               "total migration progress 4.17%");
        const qsizetype clearing = output.indexOf("Clearing non-important heartbeats");
        const qsizetype completed = output.indexOf("Aggregate Table Migration Completed");
        const qsizetype listening = output.indexOf("Listening on:");
        QVERIFY(share > 0 && share < clearing && clearing < completed && completed < listening);
        QCOMPARE(server.stop(), 0);
    }

    void interruptedConversionMakesLaterStartsFail() {
        KumaServer server("conversion ms=60000 clearing=0");
        QCOMPARE(server.stop(), 1);
        QProcess again;
        again.start(KumaServer::program(),
                    {u"--address"_s, u"127.0.0.1"_s, u"--port"_s, u"0"_s, u"--state"_s, server.folder()});
        QVERIFY(again.waitForFinished());
        QCOMPARE(again.exitCode(), 1);
        QVERIFY(again.readAllStandardError().contains("Aggregate table migration is already in progress"));
    }

    void answersAsTheRealOne_data() {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("front") << QByteArray("/") << QByteArray("302 Found") << QByteArray("Location: /dashboard");
        QTest::newRow("dashboard") << QByteArray("/dashboard") << QByteArray("200 OK") << QByteArray("text/html");
        QTest::newRow("page") << QByteArray("/api/status-page/home") << QByteArray("200 OK") << QByteArray("{\"a\":1}");
        QTest::newRow("page in capitals")
            << QByteArray("/api/status-page/HOME") << QByteArray("200 OK") << QByteArray("{\"a\":1}");
        QTest::newRow("unknown page") << QByteArray("/api/status-page/nosuch") << QByteArray("404 Not Found")
                                      << QByteArray(R"({"status":"fail","msg":"Status Page Not Found"})");
        QTest::newRow("slash in a slug") << QByteArray("/api/status-page/ho%2Fme") << QByteArray("404 Not Found")
                                         << QByteArray("application/json");
        QTest::newRow("upwards") << QByteArray("/api/status-page/..%2Fkuma-port") << QByteArray("404 Not Found")
                                 << QByteArray("application/json");
        QTest::newRow("malformed") << QByteArray("/api/status-page/%zz") << QByteArray("400 Bad Request")
                                   << QByteArray("URI malformed");
        QTest::newRow("trailing slash") << QByteArray("/api/status-page/home/") << QByteArray("200 OK")
                                        << QByteArray("text/html");
        QTest::newRow("beats") << QByteArray("/api/status-page/heartbeat/home") << QByteArray("200 OK")
                               << QByteArray("{\"b\":2}");
        QTest::newRow("no beats") << QByteArray("/api/status-page/heartbeat/nosuch") << QByteArray("200 OK")
                                  << QByteArray(R"({"heartbeatList":{},"uptimeList":{}})");
    }
    void answersAsTheRealOne() {
        QFETCH(const QByteArray, path);
        QFETCH(const QByteArray, head);
        QFETCH(const QByteArray, body);
        const KumaServer server;
        server.page(u"home"_s, "{\"a\":1}");
        server.heartbeat(u"home"_s, "{\"b\":2}");
        Browser browser(server);
        browser.get(path);
        QVERIFY(browser.sees("HTTP/1.1 " + head));
        QVERIFY2(browser.sees(body), browser.received().constData());
    }

    void historiesBecomeHeartbeats() {
        const KumaServer server;
        server.heartbeat(u"home"_s, R"({"heartbeatList":{"1":"history:38 udm","2":"history:","3":[]}})");
        const QDateTime before = QDateTime::currentDateTimeUtc();
        Browser browser(server);
        browser.get("/api/status-page/heartbeat/home");
        QVERIFY(browser.sees("]}}"));
        const QByteArray received = browser.received();
        const QByteArray body = received.mid(received.indexOf("\r\n\r\n"));
        const QJsonObject lists = QJsonDocument::fromJson(body)[u"heartbeatList"].toObject();
        const QJsonArray beats = lists[u"1"].toArray();
        QCOMPARE(beats.size(), 3);
        QDateTime last;
        const std::pair<int, QJsonValue> expected[] = {{1, 38}, {0, QJsonValue::Null}, {3, QJsonValue::Null}};
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(beats[i][u"status"].toInt(-1), expected[i].first);
            QCOMPARE(beats[i][u"ping"], expected[i].second);
            QDateTime time = QDateTime::fromString(beats[i][u"time"].toString(), u"yyyy-MM-dd HH:mm:ss.zzz"_s);
            time.setTimeZone(QTimeZone::utc());
            QVERIFY(time.isValid());
            QVERIFY(i == 0 || last.secsTo(time) == 60);
            last = time;
        }
        QVERIFY(before.secsTo(last) > -120 && last <= QDateTime::currentDateTimeUtc());
        QVERIFY(lists[u"2"].isArray() && lists[u"2"].toArray().isEmpty());
        QVERIFY(lists[u"3"].isArray());
    }

    void keepsConnectionsAliveUnlessToldOtherwise() {
        const KumaServer server;
        Browser browser(server);
        browser.get("/dashboard");
        QVERIFY(browser.sees("Connection: keep-alive"));
        browser.send("GET /?again HTTP/1.1\r\nHost: a:1\r\nConnection: close\r\n\r\n");
        QVERIFY(browser.sees("Connection: close"));
        QVERIFY(browser.isLeft());
        const auto requests = server.requests();
        QCOMPARE(requests.size(), 2);
        QCOMPARE(requests.at(0).wantsClose, false);
        QCOMPARE(requests.at(1).path, u"/?again"_s);
        QCOMPARE(requests.at(1).host, u"a:1"_s);
        QCOMPARE(requests.at(1).wantsClose, true);
    }

    void scriptIsReadAgainAtEveryRequest() {
        const KumaServer server("path / status=503 times=1\npath /dash* redirect=/x header=X-A:%20b");
        Browser browser(server);
        browser.get("/");
        QVERIFY(browser.sees("HTTP/1.1 503"));
        browser.get("/");
        QVERIFY(browser.sees("HTTP/1.1 302"));
        browser.get("/dashboard");
        QVERIFY(browser.sees("Location: /x\r\n"));
        QVERIFY(browser.sees("X-A: b\r\n"));
        server.script("path / text=%7B%7D%20now");
        browser.get("/");
        QVERIFY(browser.sees("{} now"));
    }

    void isNotReadyForTheFirstRequests() {
        const KumaServer server("not-ready requests=2");
        for (int i = 0; i < 2; ++i) {
            Browser browser(server);
            browser.get("/");
            QVERIFY(browser.isLeft());
            QCOMPARE(browser.received(), QByteArray());
        }
        Browser browser(server);
        browser.get("/");
        QVERIFY(browser.sees("HTTP/1.1 302"));
    }

    void endsAtOnceWhenTerminated() {
        KumaServer server;
        Browser browser(server);
        browser.get("/");
        QVERIFY(browser.sees("HTTP/1.1 302"));
        QCOMPARE(server.stop(), 0);
    }

    void endsWithTheCodeOfItsScript() {
        KumaServer terminated("term code=143 delay=10");
        QCOMPARE(terminated.stop(), 143);
        KumaServer crashing("exit code=1 after=10");
        QVERIFY(waitUntil([&] { return !crashing.isRunning(); }));
        QCOMPARE(crashing.stop(), 1);
    }

    void ignoresSignalsWhenItsScriptSaysSo() {
        KumaServer server("term ignore");
        QCOMPARE(::kill(static_cast<pid_t>(server.processId()), SIGTERM), 0);
        Browser browser(server);
        browser.get("/");
        QVERIFY(browser.sees("HTTP/1.1 302"));
        QVERIFY(server.isRunning());
        server.script({});
        QCOMPARE(server.stop(), 0);
    }

    void writesColouredLinesToBothStreams() {
        KumaServer server;
        QByteArray output;
        QVERIFY(waitUntil([&] {
            output += server.output();
            return output.contains("Listening on:") && output.contains("WARN");
        }));
        QVERIFY(output.contains("\x1b["));
    }
};

ORVANEL_TEST(TestKumaServer)
#include "TestKumaServer.moc"
