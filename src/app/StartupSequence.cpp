#include "app/StartupSequence.h"

#include <QGuiApplication>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <xcb/xcb.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
    const auto question = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(connection, question, nullptr), &std::free);
    return reply != nullptr ? reply->atom : XCB_ATOM_NONE;
}

/// Sends the text with its final zero in messages of 20 bytes, as the Startup Notification Protocol requires.
void broadcast(xcb_connection_t* connection, const QByteArray& text) {
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    // The window's id only serves to tell the messages of different senders apart.
    const xcb_window_t sender = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, sender, root, 0, 0, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 8;
    event.window = sender;
    event.type = atom(connection, "_NET_STARTUP_INFO_BEGIN");
    const xcb_atom_t later = atom(connection, "_NET_STARTUP_INFO");
    constexpr qsizetype room = sizeof event.data.data8;
    for (qsizetype sent = 0; sent <= text.size(); sent += room) {
        std::memset(event.data.data8, 0, room);
        std::memcpy(event.data.data8, text.constData() + sent,
                    static_cast<std::size_t>(std::min(room, text.size() - sent)));
        xcb_send_event(connection, 0, root, XCB_EVENT_MASK_PROPERTY_CHANGE, reinterpret_cast<const char*>(&event));
        event.type = later;
    }
    xcb_destroy_window(connection, sender);
    xcb_flush(connection);
}

} // namespace

void endStartupSequence(const QString& id) {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (id.isEmpty() || x11 == nullptr || x11->connection() == nullptr) {
        return;
    }
    QString quoted = id;
    quoted.replace(u'\\', u"\\\\"_s).replace(u'"', u"\\\""_s);
    broadcast(x11->connection(), u"remove: ID=\"%1\""_s.arg(quoted).toUtf8());
}

} // namespace orvanel
