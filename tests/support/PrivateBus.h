#pragma once

#include <QDBusConnection>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace orvanel::test {

/// A session bus of one test's own, without any service on it. Ends with the object.
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

    /// Lets the bus start a service that is called while nobody has its name. Only the call for it comes: the service
    /// itself is then to appear from the test.
    void letStart(const QString& service);
    bool hasStarted(const QString& service) const;

    /// Ends the bus under its users.
    void stop();

    /// What a process without a session bus has.
    static QDBusConnection none();

private:
    QString startedFile(const QString& service) const;

    QTemporaryDir m_folder;
    QProcess m_daemon;
    QString m_address;
    QStringList m_connections;
};

} // namespace orvanel::test
