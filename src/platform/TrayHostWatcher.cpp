#include "platform/TrayHostWatcher.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>

#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

const QString watcherName = u"org.kde.StatusNotifierWatcher"_s;
const QString watcherPath = u"/StatusNotifierWatcher"_s;
const QString propertiesInterface = u"org.freedesktop.DBus.Properties"_s;

// At login the panel may be busy for a long time. Nothing waits for this answer, so it has no time limit.
constexpr int noLimit = std::numeric_limits<int>::max();

} // namespace

TrayHostWatcher::TrayHostWatcher(QDBusConnection bus)
    : m_bus(std::move(bus)) {
    if (!m_bus.isConnected()) {
        return;
    }
    auto* service = new QDBusServiceWatcher(watcherName, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(service, &QDBusServiceWatcher::serviceOwnerChanged, this, &TrayHostWatcher::onServiceOwnerChanged);
    // No sender is named, because resolving it would wait for the bus. These signals only make us ask again.
    m_bus.connect({}, watcherPath, watcherName, u"StatusNotifierHostRegistered"_s, this, SLOT(ask()));
    m_bus.connect({}, watcherPath, watcherName, u"StatusNotifierHostUnregistered"_s, this, SLOT(ask()));
    m_bus.connect({}, watcherPath, propertiesInterface, u"PropertiesChanged"_s, this, SLOT(ask()));
    m_bus.connect({}, u"/org/freedesktop/DBus/Local"_s, u"org.freedesktop.DBus.Local"_s, u"Disconnected"_s, this,
                  SLOT(onHostGone()));
    ask();
}

bool TrayHostWatcher::hostAvailable() const {
    return m_available;
}

void TrayHostWatcher::onServiceOwnerChanged(const QString&, const QString&, const QString& newOwner) {
    onHostGone();
    if (!newOwner.isEmpty()) {
        ask();
    }
}

void TrayHostWatcher::onHostGone() {
    m_pending = nullptr;
    setAvailable(false);
}

void TrayHostWatcher::ask() {
    auto call = QDBusMessage::createMethodCall(watcherName, watcherPath, propertiesInterface, u"Get"_s);
    call.setArguments({watcherName, u"IsStatusNotifierHostRegistered"_s});
    call.setAutoStartService(false);
    m_pending = new QDBusPendingCallWatcher(m_bus.asyncCall(call, noLimit), this);
    connect(m_pending, &QDBusPendingCallWatcher::finished, this, &TrayHostWatcher::onAnswer);
}

void TrayHostWatcher::onAnswer(QDBusPendingCallWatcher* watcher) {
    watcher->deleteLater();
    if (watcher != m_pending) {
        return;
    }
    m_pending = nullptr;
    const QDBusPendingReply<QDBusVariant> reply = *watcher;
    setAvailable(!reply.isError() && reply.value().variant().toBool());
}

void TrayHostWatcher::setAvailable(bool available) {
    if (m_available != available) {
        m_available = available;
        Q_EMIT hostAvailableChanged(available);
    }
}

} // namespace orvanel
