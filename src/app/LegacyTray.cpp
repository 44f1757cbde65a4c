#include "app/LegacyTray.h"

#include <QAbstractNativeEventFilter>
#include <QGuiApplication>

#include <cstdint>
#include <cstdlib>
#include <string_view>
#include <xcb/xcb.h>

namespace orvanel {
namespace {

template <class Reply>
using Owned = std::unique_ptr<Reply, decltype(&std::free)>;

/// For platforms that have no such panels.
class NoTray final : public LegacyTray {
public:
    bool isPresent() const override { return false; }
};

/// A panel owns an X selection that is named after the screen, and announces when it takes it. Qt already listens to
/// such announcements.
class X11Tray final : public LegacyTray, public QAbstractNativeEventFilter {
public:
    explicit X11Tray(xcb_connection_t* connection)
        : m_connection(connection) {
        // Only the first screen counts: displays with several X screens are no longer in use.
        const auto selection = intern("_NET_SYSTEM_TRAY_S0");
        const auto manager = intern("MANAGER");
        m_selection = answer(selection);
        m_manager = answer(manager);
        qGuiApp->installNativeEventFilter(this);
    }

    ~X11Tray() override { qGuiApp->removeNativeEventFilter(this); }

    bool isPresent() const override {
        const auto question = xcb_get_selection_owner(m_connection, m_selection);
        const Owned<xcb_get_selection_owner_reply_t> owner(
            xcb_get_selection_owner_reply(m_connection, question, nullptr), &std::free);
        return owner != nullptr && owner->owner != XCB_WINDOW_NONE;
    }

    bool nativeEventFilter(const QByteArray& kind, void* message, qintptr* /*result*/) override {
        const auto* event = static_cast<const xcb_client_message_event_t*>(message);
        constexpr std::uint8_t sentByAClient = 0x80;
        if (kind == "xcb_generic_event_t" && (event->response_type & ~sentByAClient) == XCB_CLIENT_MESSAGE &&
            event->type == m_manager && event->data.data32[1] == m_selection) {
            Q_EMIT appeared();
        }
        return false;
    }

private:
    xcb_intern_atom_cookie_t intern(std::string_view name) {
        return xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    }

    xcb_atom_t answer(xcb_intern_atom_cookie_t question) {
        const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(m_connection, question, nullptr), &std::free);
        return reply != nullptr ? reply->atom : XCB_ATOM_NONE;
    }

    xcb_connection_t* const m_connection;
    xcb_atom_t m_selection = XCB_ATOM_NONE;
    xcb_atom_t m_manager = XCB_ATOM_NONE;
};

} // namespace

std::unique_ptr<LegacyTray> LegacyTray::ofDisplay() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr || x11->connection() == nullptr) {
        return std::make_unique<NoTray>();
    }
    return std::make_unique<X11Tray>(x11->connection());
}

} // namespace orvanel
