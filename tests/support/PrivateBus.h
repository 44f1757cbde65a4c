#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace orvanel::test {

/// A session bus of the test's own, without any service on it. Ends with the object.
class PrivateBus {
public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    QString address() const;

    /// A new connection, as another process would have it; closed with the bus.
    QDBusConnection connect();
    /// Closes a connection, as the end of its process would.
    void disconnect(const QDBusConnection& connection);

    /// Lets the bus start a service that is called while nothing owns its name. The test sees only the call, and must
    /// then make the service appear itself.
    void letStart(const QString& service);
    bool hasStarted(const QString& service) const;

    /// Ends the bus while programs use it.
    void stop();

    /// The connection of a process that has no session bus.
    static QDBusConnection none();

private:
    QString startedFile(const QString& service) const;

    QTemporaryDir m_folder;
    QProcess m_daemon;
    QString m_address;
    QStringList m_connections;
};

} // namespace orvanel::test
