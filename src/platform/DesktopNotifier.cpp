#include "platform/DesktopNotifier.h"

#include "platform/AppIdentity.h"
#include "platform/ShortText.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>

#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// No server shows more of a title.
constexpr qsizetype longestTitle = 200;

const QString serverName = u"org.freedesktop.Notifications"_s;
const QString serverPath = u"/org/freedesktop/Notifications"_s;
const QString defaultAction = u"default"_s;

/// Nothing waits for this answer of the bus, so it needs no limit.
constexpr int noLimit = std::numeric_limits<int>::max();

QDBusMessage callTo(const QString& method) {
    return QDBusMessage::createMethodCall(serverName, serverPath, serverName, method);
}

bool meansNoServer(const QDBusError& error) {
    return error.type() == QDBusError::ServiceUnknown || error.type() == QDBusError::Disconnected ||
           error.name().startsWith(u"org.freedesktop.DBus.Error.Spawn."_s);
}

QVariantMap hints() {
    return {
        {u"desktop-entry"_s, identity::desktopId()},
        {u"urgency"_s, QVariant::fromValue<uchar>(1)},
        {u"category"_s, u"network"_s},
        // What desktops play by default for a notification (Sound Naming standard).
        {u"sound-name"_s, u"message-new-instant"_s},
    };
}

} // namespace

DesktopNotifier::DesktopNotifier(QDBusConnection bus, std::chrono::milliseconds limit)
    : m_bus(std::move(bus))
    , m_limit(static_cast<int>(limit.count())) {}

bool DesktopNotifier::mayPost() const {
    return m_bus.isConnected();
}

void DesktopNotifier::requestAuthorization() {
    if (mayPost()) {
        listen();
        askCapabilities();
    }
}

void DesktopNotifier::post(const QString& title, const QString& body) {
    if (!mayPost()) {
        return;
    }
    const News news{title, body};
    if (m_capabilities) {
        send(news);
        return;
    }
    m_waiting << news;
    requestAuthorization();
}

// The signals are subscribed to without naming their sender, because with a name the subscription waits for the bus
// to tell its owner; isOurs() looks at the sender instead.
void DesktopNotifier::listen() {
    if (std::exchange(m_listening, true)) {
        return;
    }
    auto* watcher = new QDBusServiceWatcher(serverName, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &DesktopNotifier::onServerChanged);
    m_bus.connect({}, serverPath, serverName, u"ActivationToken"_s, this,
                  SLOT(onActivationToken(uint, QString, QDBusMessage)));
    m_bus.connect({}, serverPath, serverName, u"ActionInvoked"_s, this,
                  SLOT(onActionInvoked(uint, QString, QDBusMessage)));
    m_bus.connect({}, serverPath, serverName, u"NotificationClosed"_s, this,
                  SLOT(onNotificationClosed(uint, uint, QDBusMessage)));
    askServer();
}

// An answer does not reliably name its sender (it does in Qt 6.4, but not in 6.8), so the bus is asked who the server
// is. The bus answers before any answer of the server can arrive, and tells of later changes after its answer.
void DesktopNotifier::askServer() {
    const QString bus = u"org.freedesktop.DBus"_s;
    auto call = QDBusMessage::createMethodCall(bus, u"/org/freedesktop/DBus"_s, bus, u"GetNameOwner"_s);
    call.setArguments({serverName});
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, noLimit), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, &DesktopNotifier::onServer);
}

void DesktopNotifier::onServer(QDBusPendingCallWatcher* watcher) {
    watcher->deleteLater();
    const QDBusPendingReply<QString> reply = *watcher;
    if (!reply.isError()) {
        m_server = reply.value();
    }
}

void DesktopNotifier::onServerChanged(const QString&, const QString& oldOwner, const QString& newOwner) {
    m_server = newOwner;
    m_capabilities.reset();
    m_ours.clear();
    m_tokens.clear();
    // The old server may have received the open question, and the new one may have other capabilities, so the question
    // is asked again. If there was no old server, the question itself has started the new one, which will answer it.
    if (m_asking != nullptr && !oldOwner.isEmpty()) {
        m_asking = nullptr;
        askCapabilities();
    }
}

void DesktopNotifier::askCapabilities() {
    if (m_capabilities || m_asking != nullptr) {
        return;
    }
    const auto call = m_bus.asyncCall(callTo(u"GetCapabilities"_s), m_limit);
    m_asking = new QDBusPendingCallWatcher(call, this);
    connect(m_asking, &QDBusPendingCallWatcher::finished, this, &DesktopNotifier::onCapabilities);
}

void DesktopNotifier::onCapabilities(QDBusPendingCallWatcher* watcher) {
    watcher->deleteLater();
    if (watcher != m_asking) {
        return;
    }
    m_asking = nullptr;
    const QDBusPendingReply<QStringList> reply = *watcher;
    if (reply.isError() && meansNoServer(reply.error())) {
        m_waiting.clear();
        reportOnce(reply.error().message());
        return;
    }
    if (!reply.isError()) {
        m_capabilities = reply.value();
    }
    // A server that does not tell its capabilities gets plain text without actions.
    const auto waiting = std::exchange(m_waiting, {});
    for (const News& news : waiting) {
        send(news);
    }
}

void DesktopNotifier::send(const News& news) {
    const QStringList capabilities = m_capabilities.value_or(QStringList());
    const bool hasMarkup = capabilities.contains(u"body-markup"_s);
    const bool hasActions = capabilities.contains(u"actions"_s);
    QDBusMessage call = callTo(u"Notify"_s);
    call.setArguments({
        identity::applicationName(),
        uint(0), // replaces no other notification
        identity::iconName(), shortened(news.title, longestTitle), hasMarkup ? news.body.toHtmlEscaped() : news.body,
        hasActions ? QStringList{defaultAction, u"Open"_s} : QStringList(), hints(),
        -1, // shown as long as the server likes
    });
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(call, m_limit), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, &DesktopNotifier::onPosted);
}

void DesktopNotifier::onPosted(QDBusPendingCallWatcher* watcher) {
    watcher->deleteLater();
    const QDBusPendingReply<uint> reply = *watcher;
    if (reply.isError()) {
        reportOnce(reply.error().message());
        return;
    }
    m_ours.insert(reply.value());
}

void DesktopNotifier::reportOnce(const QString& reason) {
    if (!std::exchange(m_reported, true)) {
        qWarning("Notifications cannot be shown: %s", qPrintable(reason));
    }
}

bool DesktopNotifier::isOurs(uint id, const QDBusMessage& message) const {
    return m_ours.contains(id) && message.service() == m_server;
}

void DesktopNotifier::onActivationToken(uint id, const QString& token, const QDBusMessage& message) {
    if (isOurs(id, message)) {
        m_tokens.insert(id, token);
    }
}

void DesktopNotifier::onActionInvoked(uint id, const QString& action, const QDBusMessage& message) {
    if (isOurs(id, message) && action == defaultAction) {
        Q_EMIT activated(m_tokens.take(id));
    }
}

void DesktopNotifier::onNotificationClosed(uint id, uint, const QDBusMessage& message) {
    if (isOurs(id, message)) {
        m_ours.remove(id);
        m_tokens.remove(id);
    }
}

} // namespace orvanel
