#pragma once

#include <QTcpServer>
#include <QTimer>

class QTcpSocket;

namespace orvanel::test {

/// Stands between the engine and the registry and limits how much passes per second, so that a download from this very
/// computer lasts long enough to be watched and cancelled.
class ThrottledMirror final : public QObject {
public:
    static constexpr qint64 unlimited = 0;

    ThrottledMirror(quint16 port, quint16 registryPort);

    bool isListening() const { return m_server.isListening(); }
    void setBytesPerSecond(qint64 rate) { m_rate = rate; }

private:
    void accept();
    void passOn(QTcpSocket* registry, QTcpSocket* engine);

    QTcpServer m_server;
    quint16 m_registryPort;
    qint64 m_rate = unlimited;
};

} // namespace orvanel::test
