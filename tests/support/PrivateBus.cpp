#include "support/PrivateBus.h"

#include "support/Await.h"

#include <QDBusError>
#include <QFile>

#include <csignal>
#include <sys/prctl.h>

namespace orvanel::test {
namespace {

constexpr auto configuration = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
    <allow receive_sender="*"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

QString newConnectionName() {
    static int count = 0;
    return QStringLiteral("test-%1").arg(++count);
}

} // namespace

PrivateBus::PrivateBus() {
    QFile file(m_folder.filePath(QStringLiteral("bus.conf")));
    const QByteArray text = QString::fromLatin1(configuration).arg(m_folder.path()).toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size()) {
        qFatal("could not write %s", qPrintable(file.fileName()));
    }
    file.close();
    // A test that crashes takes its bus along. (The starting thread is the main one, so this fires with the process.)
    m_daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_daemon.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--config-file=") + file.fileName(), QStringLiteral("--nofork"),
                    QStringLiteral("--nopidfile"), QStringLiteral("--print-address")});
    if (!waitUntil([this] { return m_daemon.canReadLine() || m_daemon.state() == QProcess::NotRunning; }) ||
        !m_daemon.canReadLine()) {
        qFatal("dbus-daemon did not start: %s %s", qPrintable(m_daemon.errorString()),
               m_daemon.readAllStandardError().constData());
    }
    m_address = QString::fromUtf8(m_daemon.readLine().trimmed());
}

PrivateBus::~PrivateBus() {
    for (const QString& name : m_connections) {
        QDBusConnection::disconnectFromBus(name);
    }
    stop();
}

QString PrivateBus::address() const {
    return m_address;
}

QDBusConnection PrivateBus::connect() {
    const QString name = newConnectionName();
    auto connection = QDBusConnection::connectToBus(m_address, name);
    if (!connection.isConnected()) {
        qFatal("no connection to the bus: %s", qPrintable(connection.lastError().message()));
    }
    m_connections << name;
    return connection;
}

void PrivateBus::disconnect(const QDBusConnection& connection) {
    m_connections.removeAll(connection.name());
    QDBusConnection::disconnectFromBus(connection.name());
}

void PrivateBus::stop() {
    if (m_daemon.state() != QProcess::NotRunning) {
        m_daemon.kill();
        m_daemon.waitForFinished();
    }
}

QDBusConnection PrivateBus::none() {
    return QDBusConnection::connectToBus(QStringLiteral("disabled:"), newConnectionName());
}

} // namespace orvanel::test
