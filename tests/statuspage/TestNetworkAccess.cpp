#include "support/Await.h"
#include "support/TestClass.h"

#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTcpServer>
#include <QTcpSocket>

using namespace Qt::StringLiterals;
using namespace orvanel::test;

namespace {

/// Takes requests on 127.0.0.1, and does with each connection what the test says.
class PlainServer {
public:
    explicit PlainServer(std::function<void(QTcpSocket*)> onRequest) {
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this, onRequest] {
            QTcpSocket* const socket = m_server.nextPendingConnection();
            QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, onRequest] {
                requests.append(QString::fromLatin1(socket->readAll()).section(u'\r', 0, 0));
                onRequest(socket);
            });
        });
        isListening = m_server.listen(QHostAddress::LocalHost);
    }

    QUrl address(const QString& path) const {
        return QUrl(u"http://127.0.0.1:%1%2"_s.arg(m_server.serverPort()).arg(path));
    }

    bool isListening = false;
    QStringList requests;

private:
    QTcpServer m_server;
};

} // namespace

/// Why QNetworkAccessManager does not read the status page. If a test here fails, Qt can now do what our reader is for,
/// and QNetworkAccessManager should be considered again.
class TestNetworkAccess : public QObject {
    Q_OBJECT

    /// Requests `path`, and waits for the end.
    static std::unique_ptr<QNetworkReply> get(QNetworkAccessManager& network, const QUrl& address) {
        network.setProxy(QNetworkProxy::NoProxy);
        std::unique_ptr<QNetworkReply> reply(network.get(QNetworkRequest(address)));
        const bool isFinished = waitUntil([&] { return reply->isFinished(); });
        return isFinished ? std::move(reply) : nullptr;
    }

private Q_SLOTS:
    /// Our reader sends one request: TestStatusPageClient, aFailedFirstRequestIsTheOnlyOne.
    void sendsARequestAgainByItself() {
        const PlainServer server([](QTcpSocket* socket) { socket->disconnectFromHost(); });
        QVERIFY(server.isListening);
        QNetworkAccessManager network;
        const auto reply = get(network, server.address(u"/a"_s));
        QVERIFY(reply != nullptr);
        QVERIFY2(server.requests.size() > 1, qPrintable(server.requests.join(u'\n')));
    }

    /// Our reader returns status 0 for an answer that is not HTTP: TestHttpReader, answers.
    void seesNoDifferenceBetweenNoHttpAndNothing() {
        const PlainServer silent([](QTcpSocket* socket) { socket->disconnectFromHost(); });
        const PlainServer foreign([](QTcpSocket* socket) {
            socket->write("SSH-2.0-something\r\n");
            socket->disconnectFromHost();
        });
        QNetworkAccessManager network;
        const auto nothing = get(network, silent.address(u"/a"_s));
        const auto noHttp = get(network, foreign.address(u"/a"_s));
        QVERIFY(nothing != nullptr && noHttp != nullptr);
        QCOMPARE(noHttp->error(), nothing->error());
        QCOMPARE(noHttp->errorString(), nothing->errorString());
    }

    /// Our reader sends any slug as one segment: TestStatusPageClient, slugsGoOverTheWireAsOneSegment.
    void takesDotsOutOfPaths() {
        PlainServer server([](QTcpSocket* socket) {
            socket->write("HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
        });
        QNetworkAccessManager network;
        const auto reply = get(network, server.address(u"/api/status-page/.."_s));
        QVERIFY(reply != nullptr);
        QCOMPARE(server.requests.size(), 1);
        QVERIFY2(!server.requests.first().contains(u".."_s), qPrintable(server.requests.first()));
    }
};

ORVANEL_TEST(TestNetworkAccess)
#include "TestNetworkAccess.moc"
