#include "ThrottledMirror.h"

#include <QTcpSocket>

#include <algorithm>
#include <chrono>

namespace orvanel::test {
namespace {

constexpr std::chrono::milliseconds tick{20};
constexpr qint64 ticksPerSecond = std::chrono::seconds(1) / tick;
constexpr qint64 bufferSize = qint64{256} * 1024;

} // namespace

ThrottledMirror::ThrottledMirror(quint16 port, quint16 registryPort)
    : m_registryPort(registryPort) {
    connect(&m_server, &QTcpServer::newConnection, this, &ThrottledMirror::accept);
    m_server.listen(QHostAddress::LocalHost, port);
}

void ThrottledMirror::accept() {
    while (QTcpSocket* engine = m_server.nextPendingConnection()) {
        auto* registry = new QTcpSocket(engine);
        registry->setReadBufferSize(bufferSize); // what is not passed on yet waits at the registry
        registry->connectToHost(QHostAddress::LocalHost, m_registryPort);
        connect(engine, &QTcpSocket::readyRead, registry, [=] { registry->write(engine->readAll()); });
        connect(engine, &QTcpSocket::disconnected, engine, &QObject::deleteLater);

        auto* timer = new QTimer(engine);
        connect(timer, &QTimer::timeout, engine, [=, this] { passOn(registry, engine); });
        timer->start(tick);
    }
}

void ThrottledMirror::passOn(QTcpSocket* registry, QTcpSocket* engine) {
    if (engine->bytesToWrite() < bufferSize) {
        const qint64 share = m_rate == unlimited ? bufferSize : std::max<qint64>(m_rate / ticksPerSecond, 1);
        engine->write(registry->read(share));
    }
    if (registry->state() == QAbstractSocket::UnconnectedState && registry->bytesAvailable() == 0) {
        engine->disconnectFromHost();
    }
}

} // namespace orvanel::test
