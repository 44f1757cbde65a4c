#pragma once

#include <QDBusConnection>
#include <QObject>

class QDBusPendingCallWatcher;

namespace orvanel {

/// Whether a panel is there that shows status icons (org.kde.StatusNotifierWatcher with a registered host). Known
/// some moments after creation. Never touches QSystemTrayIcon, whose first use settles its way for the whole process.
class TrayHostWatcher final : public QObject {
    Q_OBJECT

public:
    explicit TrayHostWatcher(QDBusConnection bus = QDBusConnection::sessionBus());

    /// False until known, and always without a session bus.
    bool hostAvailable() const;
    /// Whether there is a watcher, with or without a host: it has answered, or was asked and takes its time.
    bool watcherPresent() const;

Q_SIGNALS:
    void hostAvailableChanged(bool available);

private:
    Q_SLOT void onServiceOwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);
    Q_SLOT void onHostGone();
    Q_SLOT void ask();
    void onAnswer(QDBusPendingCallWatcher* watcher);
    void setAvailable(bool available);

    QDBusConnection m_bus;
    bool m_available = false;
    bool m_hasAnswered = false;
    /// The question whose answer counts: the one asked last.
    QDBusPendingCallWatcher* m_pending = nullptr;
};

} // namespace orvanel
