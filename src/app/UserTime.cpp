#include "app/UserTime.h"

#include <QGuiApplication>
#include <QWindow>

#include <utility>
#include <xcb/xcb.h>

namespace orvanel {

UserTime::UserTime() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr || x11->connection() == nullptr) {
        return;
    }
    m_connection = x11->connection();
    m_window = std::make_unique<QWindow>();
    m_window->create();
    qGuiApp->installNativeEventFilter(this);
}

UserTime::~UserTime() {
    if (m_connection != nullptr) {
        qGuiApp->removeNativeEventFilter(this);
    }
}

/// The server tells the time with each change of a property, even one that appends nothing.
void UserTime::renew(std::function<void()> then) {
    if (m_connection == nullptr) {
        then();
        return;
    }
    m_waiting.push_back(std::move(then));
    xcb_change_property(m_connection, XCB_PROP_MODE_APPEND, static_cast<xcb_window_t>(m_window->winId()),
                        XCB_ATOM_WM_ICON_NAME, XCB_ATOM_STRING, 8, 0, nullptr);
    xcb_flush(m_connection);
}

bool UserTime::nativeEventFilter(const QByteArray& kind, void* message, qintptr* /*result*/) {
    const auto* event = static_cast<const xcb_property_notify_event_t*>(message);
    constexpr unsigned sentByAClient = 0x80;
    if (!m_waiting.empty() && kind == "xcb_generic_event_t" &&
        (event->response_type & ~sentByAClient) == XCB_PROPERTY_NOTIFY && event->window == m_window->winId()) {
        // Qt looks at the event, and remembers its time, only after this filter.
        QMetaObject::invokeMethod(
            m_window.get(), [this] { callWaiting(); }, Qt::QueuedConnection);
    }
    return false;
}

void UserTime::callWaiting() {
    for (const auto& then : std::exchange(m_waiting, {})) {
        then();
    }
}

} // namespace orvanel
