#include "DisplayWindows.h"

#include "Xcb.h"

#include <array>
#include <cstring>
#include <xcb/xtest.h>

namespace orvanel::test {
namespace {

constexpr std::int16_t panelPlace = 700;
constexpr std::uint16_t iconSide = 24;

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

/// A panel moves the icon into itself, gives it a size and shows it.
void DisplayWindows::readRequests() {
    while (const auto event = owned(xcb_poll_for_event(m_connection))) {
        const auto* message = reinterpret_cast<const xcb_client_message_event_t*>(event.get());
        constexpr quint32 requestDock = 0;
        if ((event->response_type & 0x7fU) == XCB_CLIENT_MESSAGE &&
            message->type == atom(m_connection, "_NET_SYSTEM_TRAY_OPCODE") && message->data.data32[1] == requestDock) {
            const xcb_window_t icon = message->data.data32[2];
            const std::array<quint32, 2> size{iconSide, iconSide};
            xcb_reparent_window(m_connection, icon, m_panel, 0, 0);
            xcb_configure_window(m_connection, icon, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, size.data());
            xcb_map_window(m_connection, icon);
            xcb_flush(m_connection);
        }
    }
}

bool DisplayWindows::legacyTrayHasIcon() {
    readRequests();
    const auto tree = owned(xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, m_panel), nullptr));
    return tree && xcb_query_tree_children_length(tree.get()) > 0;
}

std::optional<QColor> DisplayWindows::legacyIconColor() {
    readRequests();
    const auto image =
        owned(xcb_get_image_reply(m_connection,
                                  xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root,
                                                panelPlace + iconSide / 2, panelPlace + iconSide / 2, 1, 1, ~0U),
                                  nullptr));
    if (!image || xcb_get_image_data_length(image.get()) != 4) {
        return std::nullopt;
    }
    const std::uint8_t* bytes = xcb_get_image_data(image.get());
    return QColor(bytes[2], bytes[1], bytes[0]);
}

void DisplayWindows::clickLegacyIcon() {
    constexpr std::int16_t middle = panelPlace + iconSide / 2;
    constexpr std::uint8_t leftButton = 1;
    xcb_test_fake_input(m_connection, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, m_root, middle, middle, 0);
    xcb_test_fake_input(m_connection, XCB_BUTTON_PRESS, leftButton, XCB_CURRENT_TIME, m_root, 0, 0, 0);
    xcb_test_fake_input(m_connection, XCB_BUTTON_RELEASE, leftButton, XCB_CURRENT_TIME, m_root, 0, 0, 0);
    xcb_flush(m_connection);
}

void DisplayWindows::pressEscape() {
    // The key code of Escape on the keyboard of Xvfb.
    constexpr std::uint8_t escape = 9;
    xcb_test_fake_input(m_connection, XCB_KEY_PRESS, escape, XCB_CURRENT_TIME, m_root, 0, 0, 0);
    xcb_test_fake_input(m_connection, XCB_KEY_RELEASE, escape, XCB_CURRENT_TIME, m_root, 0, 0, 0);
    xcb_flush(m_connection);
}

void DisplayWindows::withdrawLegacyTray() {
    const auto tree = owned(xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, m_panel), nullptr));
    for (int i = 0; tree && i < xcb_query_tree_children_length(tree.get()); ++i) {
        xcb_reparent_window(m_connection, xcb_query_tree_children(tree.get())[i], m_root, 0, 0);
    }
    xcb_destroy_window(m_connection, m_panel);
    xcb_flush(m_connection);
}

void DisplayWindows::offerLegacyTray() {
    m_panel = xcb_generate_id(m_connection);
    const xcb_window_t window = m_panel;
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_root, panelPlace, panelPlace, iconSide, iconSide, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    xcb_map_window(m_connection, window);
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
