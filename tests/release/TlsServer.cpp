#include "TlsServer.h"

#include <QFile>
#include <QProcess>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslSocket>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

TlsServer::TlsServer() {
    const QString key = m_folder.filePath(u"key.pem"_s);
    const QString certificate = m_folder.filePath(u"certificate.pem"_s);
    const QString program = u"openssl"_s;
    const QStringList arguments = u"req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes "
                                  "-days 2 -subj /CN=release.example "
                                  "-addext subjectAltName=IP:127.0.0.1 -keyout %1 -out %2"_s.arg(key, certificate)
                                      .split(u' ');
    if (QProcess::execute(program, arguments) != 0) {
        qFatal("openssl could not make a certificate");
    }
    m_certificate = QSslCertificate(contentOf(certificate));
    QSslConfiguration configuration;
    configuration.setLocalCertificate(m_certificate);
    configuration.setPrivateKey(QSslKey(contentOf(key), QSsl::Ec));
    m_server.setSslConfiguration(configuration);
    if (m_certificate.isNull() || !m_server.listen(QHostAddress::LocalHost)) {
        qFatal("the server with a certificate cannot listen");
    }
    QObject::connect(&m_server, &QSslServer::pendingConnectionAvailable, &m_server, [this] { serve(); });
}

void TlsServer::serve() {
    auto* const client = m_server.nextPendingConnection();
    QObject::connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
    QObject::connect(client, &QTcpSocket::readyRead, client, [this, client] {
        if (client->readAll().contains("\r\n\r\n")) {
            m_requests += 1;
            client->write(m_answer);
            client->disconnectFromHost();
        }
    });
}

} // namespace orvanel::test
