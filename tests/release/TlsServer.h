#pragma once

#include <QSslServer>
#include <QTemporaryDir>

namespace orvanel::test {

/// A server on 127.0.0.1 with a certificate that it has just signed itself. Every request gets the same answer. Lives
/// in the event loop of its thread.
class TlsServer {
public:
    TlsServer();

    int port() const { return m_server.serverPort(); }
    QSslCertificate certificate() const { return m_certificate; }
    /// The whole answer as it goes over the wire.
    void answer(const QByteArray& bytes) { m_answer = bytes; }
    /// Requests that came through, decrypted.
    int requests() const { return m_requests; }

private:
    void serve();

    QTemporaryDir m_folder;
    QSslCertificate m_certificate;
    QSslServer m_server;
    QByteArray m_answer;
    int m_requests = 0;
};

} // namespace orvanel::test
