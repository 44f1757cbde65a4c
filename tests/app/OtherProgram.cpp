#include "OtherProgram.h"

#include "Xcb.h"

#include <QPoint>

#include <algorithm>
#include <array>
#include <xcb/xtest.h>

namespace orvanel::test {
namespace {

// The key "a" of Xvfb's keyboard.
constexpr std::uint8_t keyA = 38;
// The corner of the display, where other windows do not cover it.
constexpr QPoint place(1120, 680);

} // namespace

OtherProgram::OtherProgram(const QString& display)
    : m_connection(xcb_connect(display.toLatin1().constData(), nullptr)) {
    if (xcb_connection_has_error(m_connection) != 0) {
        qFatal("no connection to the display %s", qPrintable(display));
    }
    m_root = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data->root;
    // Messages about startups go to whoever watches the properties of the root window.
    const quint32 mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(m_connection, m_root, XCB_CW_EVENT_MASK, &mask);
    xcb_flush(m_connection);
}

OtherProgram::~OtherProgram() {
    xcb_disconnect(m_connection);
}

std::optional<quint32> OtherProgram::property(quint32 window, const char* name) const {
    const auto reply = owned(xcb_get_property_reply(
        m_connection,
        xcb_get_property(m_connection, 0, window, atom(m_connection, name), XCB_GET_PROPERTY_TYPE_ANY, 0, 1), nullptr));
    if (!reply || xcb_get_property_value_length(reply.get()) != sizeof(quint32)) {
        return std::nullopt;
    }
    return *static_cast<const quint32*>(xcb_get_property_value(reply.get()));
}

bool OtherProgram::hasWindowManager() const {
    return property(m_root, "_NET_SUPPORTING_WM_CHECK").has_value();
}

QString OtherProgram::activeTitle() const {
    const auto active = property(m_root, "_NET_ACTIVE_WINDOW");
    if (!active || *active == XCB_WINDOW_NONE) {
        return {};
    }
    const xcb_atom_t name = atom(m_connection, "_NET_WM_NAME");
    const auto reply = owned(xcb_get_property_reply(
        m_connection, xcb_get_property(m_connection, 0, *active, name, XCB_GET_PROPERTY_TYPE_ANY, 0, 100), nullptr));
    return reply ? QString::fromUtf8(static_cast<const char*>(xcb_get_property_value(reply.get())),
                                     xcb_get_property_value_length(reply.get()))
                 : QString();
}

void OtherProgram::showWindow() {
    m_window = xcb_generate_id(m_connection);
    const quint32 mask = XCB_EVENT_MASK_KEY_PRESS;
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, m_root, place.x(), place.y(), 150, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    // Flags, then the place.
    constexpr quint32 userPosition = 1;
    const std::array<quint32, 18> hints{userPosition, static_cast<quint32>(place.x()), static_cast<quint32>(place.y())};
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS,
                        32, hints.size(), hints.data());
    const QByteArray name = title().toUtf8();
    xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, atom(m_connection, "_NET_WM_NAME"),
                        atom(m_connection, "UTF8_STRING"), 8, static_cast<quint32>(name.size()), name.constData());
    xcb_map_window(m_connection, m_window);
    xcb_flush(m_connection);
}

void OtherProgram::askWindowManager(quint32 window, const char* message, quint32 data) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom(m_connection, message);
    event.data.data32[0] = data;
    xcb_send_event(m_connection, 0, m_root, XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(m_connection);
}

void OtherProgram::click() {
    const auto corner = owned(xcb_translate_coordinates_reply(
        m_connection, xcb_translate_coordinates(m_connection, m_window, m_root, 5, 5), nullptr));
    if (!corner) {
        return;
    }
    constexpr std::uint8_t leftButton = 1;
    xcb_test_fake_input(m_connection, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, m_root, corner->dst_x, corner->dst_y, 0);
    xcb_test_fake_input(m_connection, XCB_BUTTON_PRESS, leftButton, XCB_CURRENT_TIME, m_root, 0, 0, 0);
    xcb_test_fake_input(m_connection, XCB_BUTTON_RELEASE, leftButton, XCB_CURRENT_TIME, m_root, 0, 0, 0);
    xcb_flush(m_connection);
}

void OtherProgram::closeActive() {
    askWindowManager(property(m_root, "_NET_ACTIVE_WINDOW").value_or(XCB_WINDOW_NONE), "_NET_CLOSE_WINDOW",
                     XCB_CURRENT_TIME);
}

void OtherProgram::type() {
    for (const std::uint8_t kind : std::array<std::uint8_t, 2>{XCB_KEY_PRESS, XCB_KEY_RELEASE}) {
        xcb_test_fake_input(m_connection, kind, keyA, XCB_CURRENT_TIME, m_root, 0, 0, 0);
    }
    xcb_flush(m_connection);
    readEvents();
}

int OtherProgram::typed() {
    readEvents();
    return m_typed;
}

bool OtherProgram::isActiveAsNewAsTyping() const {
    const quint32 active = property(m_root, "_NET_ACTIVE_WINDOW").value_or(XCB_WINDOW_NONE);
    const quint32 teller = property(active, "_NET_WM_USER_TIME_WINDOW").value_or(active);
    const auto time = property(teller, "_NET_WM_USER_TIME");
    return time && *time >= m_lastTime;
}

bool OtherProgram::hasEnded(const QString& startupId) {
    readEvents();
    return m_ended.contains(startupId);
}

void OtherProgram::readEvents() {
    while (const auto event = owned(xcb_poll_for_event(m_connection))) {
        const unsigned kind = event->response_type & 0x7fU;
        if (kind == XCB_KEY_PRESS) {
            m_typed += 1;
            // Every toolkit tells the window manager in this way when the user last did something.
            const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(event.get());
            m_lastTime = key->time;
            xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, atom(m_connection, "_NET_WM_USER_TIME"),
                                XCB_ATOM_CARDINAL, 32, 1, &key->time);
            xcb_flush(m_connection);
        } else if (kind == XCB_CLIENT_MESSAGE) {
            takeStartupMessage(*reinterpret_cast<const xcb_client_message_event_t*>(event.get()));
        }
    }
}

void OtherProgram::takeStartupMessage(const xcb_client_message_event_t& event) {
    if (event.type == atom(m_connection, "_NET_STARTUP_INFO_BEGIN")) {
        m_startupMessage.clear();
    } else if (event.type != atom(m_connection, "_NET_STARTUP_INFO")) {
        return;
    }
    const auto* part = reinterpret_cast<const char*>(event.data.data8);
    const auto* end = std::find(part, part + sizeof event.data.data8, '\0');
    m_startupMessage.append(part, end - part);
    const QByteArray opening = "remove: ID=\"";
    if (end != part + sizeof event.data.data8 && m_startupMessage.startsWith(opening) &&
        m_startupMessage.endsWith('"')) {
        const QByteArray quoted = m_startupMessage.sliced(opening.size()).chopped(1);
        m_ended.insert(QString::fromUtf8(QByteArray(quoted).replace("\\\"", "\"")));
    }
}

} // namespace orvanel::test
