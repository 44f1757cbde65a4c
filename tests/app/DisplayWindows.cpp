#include "DisplayWindows.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <xcb/xcb.h>

namespace orvanel::test {
namespace {

template <class Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

quint32 atom(xcb_connection_t* connection, const char* name) {
    const auto question = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    const auto reply = owned(xcb_intern_atom_reply(connection, question, nullptr));
    return reply ? reply->atom : XCB_ATOM_NONE;
}

} // namespace

DisplayWindows::DisplayWindows(const QString& display)
    : m_connection(xcb_connect(display.toLatin1().constData(), nullptr)) {
    if (xcb_connection_has_error(m_connection) != 0) {
        qFatal("no connection to the display %s", qPrintable(display));
    }
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
}

DisplayWindows::~DisplayWindows() {
    xcb_disconnect(m_connection);
}

std::vector<DisplayWindows::Seen> DisplayWindows::seen() const {
    const quint32 name = atom(m_connection, "_NET_WM_NAME");
    const auto tree = owned(xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, m_root), nullptr));
    std::vector<Seen> seen;
    for (int i = 0; tree && i < xcb_query_tree_children_length(tree.get()); ++i) {
        const xcb_window_t window = xcb_query_tree_children(tree.get())[i];
        const auto state = owned(
            xcb_get_window_attributes_reply(m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
        const auto title = owned(xcb_get_property_reply(
            m_connection, xcb_get_property(m_connection, 0, window, name, XCB_ATOM_ANY, 0, 100), nullptr));
        if (state && title && state->map_state == XCB_MAP_STATE_VIEWABLE && title->value_len > 0) {
            const auto* text = static_cast<const char*>(xcb_get_property_value(title.get()));
            seen.push_back({window, QString::fromUtf8(text, xcb_get_property_value_length(title.get()))});
        }
    }
    return seen;
}

QStringList DisplayWindows::titles() const {
    QStringList titles;
    for (const Seen& one : seen()) {
        titles << one.title;
    }
    return titles;
}

std::optional<QSize> DisplayWindows::leastSizeOf(const QString& title) const {
    for (const Seen& one : seen()) {
        if (one.title != title) {
            continue;
        }
        const auto hints = owned(xcb_get_property_reply(
            m_connection,
            xcb_get_property(m_connection, 0, one.window, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, 0, 18),
            nullptr));
        // Flags, four fields that are not used any more, then the least width and height.
        constexpr int fields = 7;
        if (!hints || xcb_get_property_value_length(hints.get()) < fields * 4) {
            return std::nullopt;
        }
        const auto* values = static_cast<const qint32*>(xcb_get_property_value(hints.get()));
        return QSize(values[5], values[6]);
    }
    return std::nullopt;
}

bool DisplayWindows::wasAskedToTakeAnIcon() {
    while (const auto event = owned(xcb_poll_for_event(m_connection))) {
        const auto* message = reinterpret_cast<const xcb_client_message_event_t*>(event.get());
        constexpr quint32 requestDock = 0;
        if ((event->response_type & 0x7fU) == XCB_CLIENT_MESSAGE &&
            message->type == atom(m_connection, "_NET_SYSTEM_TRAY_OPCODE") && message->data.data32[1] == requestDock) {
            m_wasAsked = true;
        }
    }
    return m_wasAsked;
}

void DisplayWindows::offerLegacyTray() {
    const xcb_window_t window = xcb_generate_id(m_connection);
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_root, 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    const xcb_atom_t selection = atom(m_connection, "_NET_SYSTEM_TRAY_S0");
    xcb_set_selection_owner(m_connection, window, selection, XCB_CURRENT_TIME);
    xcb_client_message_event_t news{};
    news.response_type = XCB_CLIENT_MESSAGE;
    news.format = 32;
    news.window = m_root;
    news.type = atom(m_connection, "MANAGER");
    news.data.data32[1] = selection;
    news.data.data32[2] = window;
    std::array<char, 32> bytes{};
    static_assert(sizeof news == 32);
    std::memcpy(bytes.data(), &news, sizeof news);
    xcb_send_event(m_connection, 0, m_root, XCB_EVENT_MASK_STRUCTURE_NOTIFY, bytes.data());
    xcb_flush(m_connection);
}

} // namespace orvanel::test
