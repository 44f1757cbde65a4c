#include "DisplayWindows.h"

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

QStringList DisplayWindows::titles() const {
    const quint32 name = atom(m_connection, "_NET_WM_NAME");
    const auto tree = owned(xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, m_root), nullptr));
    QStringList titles;
    for (int i = 0; tree && i < xcb_query_tree_children_length(tree.get()); ++i) {
        const xcb_window_t window = xcb_query_tree_children(tree.get())[i];
        const auto state = owned(
            xcb_get_window_attributes_reply(m_connection, xcb_get_window_attributes(m_connection, window), nullptr));
        const auto title = owned(xcb_get_property_reply(
            m_connection, xcb_get_property(m_connection, 0, window, name, XCB_ATOM_ANY, 0, 100), nullptr));
        if (state && title && state->map_state == XCB_MAP_STATE_VIEWABLE && title->value_len > 0) {
            titles << QString::fromUtf8(static_cast<const char*>(xcb_get_property_value(title.get())),
                                        xcb_get_property_value_length(title.get()));
        }
    }
    return titles;
}

void DisplayWindows::offerLegacyTray() {
    const xcb_window_t window = xcb_generate_id(m_connection);
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_root, 0, 0, 10, 10, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_set_selection_owner(m_connection, window, atom(m_connection, "_NET_SYSTEM_TRAY_S0"), XCB_CURRENT_TIME);
    xcb_flush(m_connection);
}

} // namespace orvanel::test
