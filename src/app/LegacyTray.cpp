#include "app/LegacyTray.h"

#include <QAbstractNativeEventFilter>
#include <QGuiApplication>

#include <array>
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
    void dock(quintptr /*window*/) override {}
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
        const auto request = intern("_NET_SYSTEM_TRAY_OPCODE");
        const auto embedding = intern("_XEMBED_INFO");
        m_selection = answer(selection);
        m_manager = answer(manager);
        m_request = answer(request);
        m_embedding = answer(embedding);
        qGuiApp->installNativeEventFilter(this);
    }

    ~X11Tray() override { qGuiApp->removeNativeEventFilter(this); }

    bool isPresent() const override { return owner() != XCB_WINDOW_NONE; }

    void dock(quintptr window) override {
        m_panel = owner();
        if (m_panel == XCB_WINDOW_NONE) {
            return;
        }
        const auto icon = static_cast<xcb_window_t>(window);
        // The protocol's version, and the flag that asks the panel to show the icon.
        const std::array<std::uint32_t, 2> information{0, 1};
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, icon, m_embedding, m_embedding, 32, information.size(),
                            information.data());
        const std::uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection, m_panel, XCB_CW_EVENT_MASK, &mask);
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = m_panel;
        event.type = m_request;
        constexpr std::uint32_t takeThis = 0;
        event.data.data32[0] = XCB_CURRENT_TIME;
        event.data.data32[1] = takeThis;
        event.data.data32[2] = icon;
        xcb_send_event(m_connection, 0, m_panel, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&event));
        xcb_flush(m_connection);
    }

    bool nativeEventFilter(const QByteArray& kind, void* message, qintptr* /*result*/) override {
        if (kind != "xcb_generic_event_t") {
            return false;
        }
        const auto* event = static_cast<const xcb_generic_event_t*>(message);
        constexpr std::uint8_t sentByAClient = 0x80;
        switch (event->response_type & ~sentByAClient) {
        case XCB_CLIENT_MESSAGE:
            onMessage(*static_cast<const xcb_client_message_event_t*>(message));
            break;
        case XCB_DESTROY_NOTIFY:
            onDestroyed(*static_cast<const xcb_destroy_notify_event_t*>(message));
            break;
        default:
            break;
        }
        return false;
    }

private:
    xcb_window_t owner() const {
        const auto question = xcb_get_selection_owner(m_connection, m_selection);
        const Owned<xcb_get_selection_owner_reply_t> owner(
            xcb_get_selection_owner_reply(m_connection, question, nullptr), &std::free);
        return owner != nullptr ? owner->owner : XCB_WINDOW_NONE;
    }

    void onMessage(const xcb_client_message_event_t& event) {
        if (event.type == m_manager && event.data.data32[1] == m_selection) {
            Q_EMIT appeared();
        }
    }

    void onDestroyed(const xcb_destroy_notify_event_t& event) {
        if (m_panel != XCB_WINDOW_NONE && event.window == m_panel) {
            m_panel = XCB_WINDOW_NONE;
            Q_EMIT disappeared();
        }
    }

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
    xcb_atom_t m_request = XCB_ATOM_NONE;
    xcb_atom_t m_embedding = XCB_ATOM_NONE;
    /// The panel that was asked to take the icon.
    xcb_window_t m_panel = XCB_WINDOW_NONE;
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
