#include "support/PrivateBus.h"

#include "support/Await.h"

#include <QDBusError>
#include <QDir>
#include <QFile>

#include <csignal>
#include <sys/prctl.h>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

constexpr auto configuration = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:dir=%1</listen>
  <servicedir>%1/services</servicedir>
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
    return u"test-%1"_s.arg(++count);
}

void write(const QString& path, const QString& text) {
    QFile file(path);
    const QByteArray bytes = text.toUtf8();
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        qFatal("could not write %s", qPrintable(path));
    }
}

} // namespace

PrivateBus::PrivateBus() {
    const QString folder = m_folder.path();
    const QString configurationFile = m_folder.filePath(u"bus.conf"_s);
    QDir(folder).mkdir(u"services"_s);
    write(configurationFile, QString::fromLatin1(configuration).arg(folder));
    // If the test crashes, its bus ends too. (The main thread starts it, so this signal comes when the process ends.)
    m_daemon.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_daemon.start(u"dbus-daemon"_s,
                   {u"--config-file="_s + configurationFile, u"--nofork"_s, u"--nopidfile"_s, u"--print-address"_s});
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

void PrivateBus::letStart(const QString& service) {
    // The command runs until the bus ends. If it ended before its service appeared, that would count as a failure.
    const QString command =
        u"/bin/sh -c '/usr/bin/touch %1; exec /usr/bin/tail --pid=%2 -f /dev/null'"_s.arg(startedFile(service))
            .arg(m_daemon.processId());
    write(m_folder.filePath(u"services/%1.service"_s.arg(service)),
          u"[D-BUS Service]\nName=%1\nExec=%2\n"_s.arg(service, command));
}

bool PrivateBus::hasStarted(const QString& service) const {
    return QFile::exists(startedFile(service));
}

QString PrivateBus::startedFile(const QString& service) const {
    return m_folder.filePath(service + u".started"_s);
}

void PrivateBus::stop() {
    if (m_daemon.state() != QProcess::NotRunning) {
        m_daemon.kill();
        m_daemon.waitForFinished();
    }
}

QDBusConnection PrivateBus::none() {
    return QDBusConnection::connectToBus(u"disabled:"_s, newConnectionName());
}

} // namespace orvanel::test
