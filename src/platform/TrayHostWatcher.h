#pragma once

#include <QDBusConnection>
#include <QObject>

class QDBusPendingCallWatcher;

namespace orvanel {

/// Whether there is a panel that shows status icons (org.kde.StatusNotifierWatcher with a registered host). The answer
/// comes some moments after the construction. QSystemTrayIcon is not used for it, because the first use of that class
/// decides for the whole process which kind of panel it uses.
class TrayHostWatcher final : public QObject {
    Q_OBJECT

public:
    explicit TrayHostWatcher(QDBusConnection bus = QDBusConnection::sessionBus());

    /// False until the answer is there, and always without a session bus.
    bool hostAvailable() const;

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
    /// The last question; only its answer counts.
    QDBusPendingCallWatcher* m_pending = nullptr;
};

} // namespace orvanel
