#include "standin/desktop/NotificationServer.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel::standin {
namespace {

const QString serverName = u"org.freedesktop.Notifications"_s;
const QString serverPath = u"/org/freedesktop/Notifications"_s;

/// The server's object on the bus.
class Face final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

public:
    explicit Face(NotificationServer* server)
        : QObject(server)
        , m_server(server) {}

    // NOLINTBEGIN(readability-identifier-naming): the names of the bus
    Q_SLOT uint Notify(const QString& program, uint replaces, const QString& icon, const QString& summary,
                       const QString& body, const QStringList& actions, const QVariantMap& hints,
                       int /*expiresAfter*/) {
        return m_server->take({0, program, icon, summary, body, actions, hints}, replaces);
    }

    Q_SLOT void CloseNotification(uint id) { m_server->dismiss(id, NotificationServer::Reason::ClosedByProgram); }
    Q_SLOT QStringList GetCapabilities() const { return m_server->capabilities(); }

    Q_SLOT QString GetServerInformation(QString& vendor, QString& version, QString& protocol) const {
        vendor = u"Orvanel"_s;
        version = u"1"_s;
        protocol = u"1.2"_s;
        return u"Stand-in desktop"_s;
    }

Q_SIGNALS:
    void NotificationClosed(uint id, uint reason);
    void ActionInvoked(uint id, const QString& action);
    // NOLINTEND(readability-identifier-naming)

private:
    NotificationServer* const m_server;
};

} // namespace

NotificationServer::NotificationServer(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_face(new Face(this)) {}

NotificationServer::~NotificationServer() {
    m_bus.unregisterService(serverName);
    m_bus.unregisterObject(serverPath);
}

bool NotificationServer::open() {
    return m_bus.registerObject(serverPath, m_face,
                                QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals) &&
           m_bus.registerService(serverName);
}

QList<Notification> NotificationServer::shown() const {
    QList<Notification> shown = m_all;
    shown.removeIf([](const Notification& notification) { return !notification.shown; });
    return shown;
}

uint NotificationServer::take(Notification notification, uint replaces) {
    notification.id = replaces != 0 ? replaces : ++m_lastId;
    const uint id = notification.id;
    m_all.removeIf([&](const Notification& earlier) { return earlier.id == id; });
    m_all.append(std::move(notification));
    Q_EMIT changed();
    return id;
}

void NotificationServer::dismiss(uint id, Reason reason) {
    const auto found = std::find_if(m_all.begin(), m_all.end(), [&](const auto& each) { return each.id == id; });
    if (found == m_all.end() || !found->shown) {
        return;
    }
    found->shown = false;
    Q_EMIT static_cast<Face*>(m_face)->NotificationClosed(id, static_cast<uint>(reason));
    Q_EMIT changed();
}

void NotificationServer::invoke(uint id, const QString& action) {
    Q_EMIT static_cast<Face*>(m_face)->ActionInvoked(id, action);
    dismiss(id);
}

} // namespace orvanel::standin

#include "NotificationServer.moc"
