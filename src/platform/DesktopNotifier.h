#pragma once

#include "platform/Notifier.h"

#include <QDBusConnection>
#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QStringList>

#include <chrono>
#include <optional>

class QDBusMessage;
class QDBusPendingCallWatcher;

namespace orvanel {

/// Posts through the session's notification server (Desktop Notifications standard,
/// org.freedesktop.Notifications). What the server can do is asked before the first post, and again when another server
/// takes over.
class DesktopNotifier final : public QObject, public Notifier {
    Q_OBJECT

public:
    /// `limit` bounds the wait for each answer of the server.
    explicit DesktopNotifier(QDBusConnection bus = QDBusConnection::sessionBus(),
                             std::chrono::milliseconds limit = std::chrono::seconds(2));

    /// Whether there is a session bus.
    bool mayPost() const override;
    void requestAuthorization() override;
    void post(const QString& title, const QString& body) override;

Q_SIGNALS:
    /// The user clicked one of our notifications. The token, which may be empty, lets a window come to the front.
    void activated(const QString& activationToken);

private:
    Q_SLOT void onServerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);
    Q_SLOT void onActivationToken(uint id, const QString& token, const QDBusMessage& message);
    Q_SLOT void onActionInvoked(uint id, const QString& action, const QDBusMessage& message);
    Q_SLOT void onNotificationClosed(uint id, uint reason, const QDBusMessage& message);

    struct News {
        QString title;
        QString body;
    };

    void listen();
    void askServer();
    void onServer(QDBusPendingCallWatcher* watcher);
    void askCapabilities();
    void onCapabilities(QDBusPendingCallWatcher* watcher);
    void send(const News& news);
    void onPosted(QDBusPendingCallWatcher* watcher);
    void reportOnce(const QString& reason);
    bool isOurs(uint id, const QDBusMessage& message) const;

    QDBusConnection m_bus;
    const int m_limit;
    bool m_listening = false;
    bool m_reported = false;
    /// The question that is open, or nullptr.
    QDBusPendingCallWatcher* m_asking = nullptr;
    /// Unique bus name of the server; empty while unknown.
    QString m_server;
    /// The capabilities of `m_server`; none until it has answered.
    std::optional<QStringList> m_capabilities;
    QList<News> m_waiting;
    QSet<uint> m_ours;
    QHash<uint, QString> m_tokens;
};

} // namespace orvanel
