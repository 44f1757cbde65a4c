#include "standin/kuma/KumaServer.h"
#include "statuspage/StatusPageClient.h"
#include "support/Await.h"
#include "support/FakeClock.h"
#include "support/TestClass.h"

#include <QNetworkProxy>
#include <QNetworkProxyFactory>

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

} // namespace

/// Which address the client asks, what it sends along, and what it remembers.
class TestStatusPageSession : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void anotherHostIsNeverAsked() {
        const KumaServer other;
        const QByteArray elsewhere = "http://127.0.0.1:" + QByteArray::number(other.port());
        const KumaServer server("path * redirect=" + elsewhere + "/");
        FakeClock clock;
        StatusPageClient client(clock);
        QVERIFY(await(client.pageAnswers(server.port())) == PageAnswer::usual);
        QCOMPARE(sentence(await(client.fetch(server.port(), u"home"_s))), httpSentence("302"));
        QVERIFY(other.requests().isEmpty());
    }

    void proxiesAreNeverUsed() {
        const KumaServer proxy("path * text={}");
        const QByteArray address = "http://127.0.0.1:" + QByteArray::number(proxy.port());
        for (const char* variable : {"http_proxy", "HTTP_PROXY", "all_proxy", "ALL_PROXY"}) {
            qputenv(variable, address);
        }
        QNetworkProxyFactory::setUseSystemConfiguration(true);
        const QNetworkProxy everywhere(QNetworkProxy::HttpProxy, u"127.0.0.1"_s, static_cast<quint16>(proxy.port()));
        QNetworkProxy::setApplicationProxy(everywhere);
        const KumaServer server;
        FakeClock clock;
        StatusPageClient client(clock);
        const PageAnswer answers = await(client.pageAnswers(server.port()));
        const QString message = sentence(await(client.fetch(server.port(), u"home"_s)));
        QNetworkProxy::setApplicationProxy(QNetworkProxy::NoProxy);
        for (const char* variable : {"http_proxy", "HTTP_PROXY", "all_proxy", "ALL_PROXY"}) {
            qunsetenv(variable);
        }
        QVERIFY(answers == PageAnswer::usual);
        QCOMPARE(message, httpSentence("404"));
        QVERIFY(proxy.requests().isEmpty());
    }

    void nothingIsRemembered() {
        const KumaServer server("path / header=Set-Cookie:%20a=b header=Cache-Control:%20max-age=3600\n"
                                "path /api/* header=Set-Cookie:%20a=b header=Cache-Control:%20max-age=3600 "
                                "header=ETag:%20x");
        server.page(u"home"_s, emptyPage);
        FakeClock clock;
        StatusPageClient client(clock);
        for (int round = 0; round < 2; ++round) {
            QVERIFY(await(client.pageAnswers(server.port())) == PageAnswer::usual);
            QCOMPARE(sentence(await(client.fetch(server.port(), u"home"_s))), QString());
        }
        QCOMPARE(server.requests().size(), 6);
        for (const KumaServer::Request& request : server.requests()) {
            QVERIFY(!request.headers.contains(u"Cookie"_s, Qt::CaseInsensitive));
            QVERIFY(!request.headers.contains(u"If-None-Match"_s, Qt::CaseInsensitive));
            QVERIFY(!request.headers.contains(u"Upgrade"_s, Qt::CaseInsensitive));
        }
    }

    void requestsSideBySideDoNotDisturbOneAnother() {
        const KumaServer server("path /api/status-page/slow delay=300");
        server.page(u"slow"_s, emptyPage);
        server.page(u"quick"_s, emptyPage);
        FakeClock clock;
        StatusPageClient client(clock);
        auto slow = client.fetch(server.port(), u"slow"_s);
        auto quick = client.fetch(server.port(), u"quick"_s);
        auto answers = client.pageAnswers(server.port());
        QVERIFY(await(std::move(answers)) == PageAnswer::usual);
        QCOMPARE(sentence(await(std::move(quick))), QString());
        QCOMPARE(sentence(await(std::move(slow))), QString());
    }
};

ORVANEL_TEST(TestStatusPageSession)
#include "TestStatusPageSession.moc"
