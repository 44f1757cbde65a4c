#include "standin/desktop/WindowFrames.h"

#include <QGuiApplication>
#include <QScreen>

#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace orvanel::standin {
namespace {

struct Free {
    void operator()(void* reply) const { std::free(reply); }
};

template <class Reply>
using Owned = std::unique_ptr<Reply, Free>;

xcb_connection_t* display() {
    return qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
}

xcb_window_t rootWindow() {
    return xcb_setup_roots_iterator(xcb_get_setup(display())).data->root;
}

xcb_atom_t atom(const QByteArray& name) {
    const auto cookie = xcb_intern_atom(display(), 0, static_cast<uint16_t>(name.size()), name.constData());
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(display(), cookie, nullptr));
    return reply ? reply->atom : XCB_ATOM_NONE;
}

QByteArray propertyOf(xcb_window_t window, xcb_atom_t name, xcb_atom_t type) {
    const auto cookie = xcb_get_property(display(), 0, window, name, type, 0, 1024);
    const Owned<xcb_get_property_reply_t> reply(xcb_get_property_reply(display(), cookie, nullptr));
    if (!reply) {
        return {};
    }
    return {static_cast<const char*>(xcb_get_property_value(reply.get())), xcb_get_property_value_length(reply.get())};
}

void addEventMask(xcb_window_t window, uint32_t mask) {
    const auto cookie = xcb_get_window_attributes(display(), window);
    const Owned<xcb_get_window_attributes_reply_t> reply(xcb_get_window_attributes_reply(display(), cookie, nullptr));
    // The root's mask also holds what Qt asked for on this connection.
    const uint32_t all = mask | (reply ? reply->your_event_mask : 0U);
    xcb_change_window_attributes(display(), window, XCB_CW_EVENT_MASK, &all);
}

} // namespace

WindowFrame::WindowFrame(const DesktopLook& look, quint32 window)
    : QWidget(nullptr, Qt::FramelessWindowHint | Qt::BypassWindowManagerHint | Qt::WindowDoesNotAcceptFocus)
    , m_look(look)
    , m_window(window) {
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void WindowFrame::setTitle(const QString& title) {
    m_title = title;
    update();
}

void WindowFrame::setInside(const QRect& inside) {
    setGeometry(inside.adjusted(-1, -titleHeight, 1, 1));
}

void WindowFrame::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(-pos());
    m_look.paintBackground(painter, screen()->geometry());
    m_look.paintShadow(painter, geometry());
    painter.resetTransform();
    // The lower corners belong to the window, whose corners are not round.
    painter.fillRect(rect().adjusted(0, titleHeight, 0, 0), m_look.border);
    painter.setClipRect(QRect(0, 0, width(), titleHeight));
    m_look.paintCard(painter, rect());
    painter.setFont(m_look.font(1, QFont::DemiBold));
    painter.setPen(m_look.text);
    painter.drawText(QRect(0, 0, width(), titleHeight), Qt::AlignCenter | Qt::TextSingleLine, m_title);

    const QPointF center(width() - 20, titleHeight / 2.0);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_look.dark ? QColor(0x444a53) : QColor(0xe6e9ed));
    painter.drawEllipse(center, 10, 10);
    painter.setPen(QPen(m_look.text, 1.4));
    painter.drawLine(center + QPointF(-3.5, -3.5), center + QPointF(3.5, 3.5));
    painter.drawLine(center + QPointF(-3.5, 3.5), center + QPointF(3.5, -3.5));
}

struct WindowFrames::Atoms {
    const xcb_atom_t name = atom("_NET_WM_NAME");
    const xcb_atom_t utf8 = atom("UTF8_STRING");
    const xcb_atom_t activeWindow = atom("_NET_ACTIVE_WINDOW");
    const xcb_atom_t protocols = atom("WM_PROTOCOLS");
    const xcb_atom_t deleteWindow = atom("WM_DELETE_WINDOW");
};

WindowFrames::WindowFrames(const DesktopLook& look)
    : m_look(look)
    , m_atoms(std::make_unique<Atoms>()) {
    addEventMask(rootWindow(), XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY);
    xcb_flush(display());
    qGuiApp->installNativeEventFilter(this);
}

WindowFrames::~WindowFrames() {
    qGuiApp->removeNativeEventFilter(this);
}

std::vector<const WindowFrame*> WindowFrames::frames() const {
    std::vector<const WindowFrame*> frames;
    frames.reserve(m_frames.size());
    for (const auto& frame : m_frames) {
        frames.push_back(frame.get());
    }
    return frames;
}

const WindowFrame* WindowFrames::find(const QString& title) const {
    const auto found =
        std::find_if(m_frames.begin(), m_frames.end(), [&](const auto& frame) { return frame->title() == title; });
    return found == m_frames.end() ? nullptr : found->get();
}

void WindowFrames::close(const WindowFrame& frame) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = frame.window();
    event.type = m_atoms->protocols;
    event.data.data32[0] = m_atoms->deleteWindow;
    event.data.data32[1] = XCB_CURRENT_TIME;
    std::array<char, 32> bytes{};
    static_assert(sizeof event == 32);
    std::copy_n(reinterpret_cast<const char*>(&event), sizeof event, bytes.begin());
    xcb_send_event(display(), 0, frame.window(), XCB_EVENT_MASK_NO_EVENT, bytes.data());
    xcb_flush(display());
}

bool WindowFrames::nativeEventFilter(const QByteArray& kind, void* message, qintptr* /*result*/) {
    if (kind != "xcb_generic_event_t") {
        return false;
    }
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    switch (event->response_type & 0x7fU) {
    case XCB_MAP_REQUEST:
        manage(reinterpret_cast<const xcb_map_request_event_t*>(event)->window);
        break;
    case XCB_UNMAP_NOTIFY:
        forget(reinterpret_cast<const xcb_unmap_notify_event_t*>(event)->window);
        break;
    case XCB_CONFIGURE_REQUEST:
        configure(*reinterpret_cast<const xcb_configure_request_event_t*>(event));
        break;
    case XCB_PROPERTY_NOTIFY: {
        const auto* change = reinterpret_cast<const xcb_property_notify_event_t*>(event);
        if (auto* frame = frameOf(change->window); frame && change->atom == m_atoms->name) {
            readTitle(*frame);
        }
        break;
    }
    case XCB_CLIENT_MESSAGE: {
        const auto* request = reinterpret_cast<const xcb_client_message_event_t*>(event);
        if (auto* frame = frameOf(request->window); frame && request->type == m_atoms->activeWindow) {
            activate(*frame);
        }
        break;
    }
    default:
        break;
    }
    return false;
}

void WindowFrames::manage(quint32 window) {
    if (frameOf(window)) {
        return;
    }
    const Owned<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(display(), xcb_get_geometry(display(), window), nullptr));
    if (!geometry) {
        return;
    }
    const QByteArray owner = propertyOf(window, XCB_ATOM_WM_TRANSIENT_FOR, XCB_ATOM_WINDOW);
    quint32 transientFor = 0;
    if (owner.size() == sizeof transientFor) {
        std::copy_n(owner.constData(), sizeof transientFor, reinterpret_cast<char*>(&transientFor));
    }
    const QRect place = placeFor({geometry->width, geometry->height}, transientFor);
    auto& frame = *m_frames.emplace_back(std::make_unique<WindowFrame>(m_look, window));
    frame.setInside(place);
    frame.show();
    addEventMask(window, XCB_EVENT_MASK_PROPERTY_CHANGE);
    const std::array<uint32_t, 2> position{static_cast<uint32_t>(place.x()), static_cast<uint32_t>(place.y())};
    xcb_configure_window(display(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, position.data());
    xcb_map_window(display(), window);
    readTitle(frame);
    activate(frame);
}

void WindowFrames::forget(quint32 window) {
    if (std::erase_if(m_frames, [&](const auto& frame) { return frame->window() == window; }) > 0) {
        Q_EMIT changed();
    }
}

void WindowFrames::readTitle(WindowFrame& frame) {
    frame.setTitle(QString::fromUtf8(propertyOf(frame.window(), m_atoms->name, m_atoms->utf8)));
    Q_EMIT changed();
}

void WindowFrames::activate(WindowFrame& frame) {
    const auto position =
        std::find_if(m_frames.begin(), m_frames.end(), [&](const auto& each) { return each.get() == &frame; });
    std::rotate(position, position + 1, m_frames.end());
    frame.raise();
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(display(), frame.window(), XCB_CONFIG_WINDOW_STACK_MODE, &above);
    xcb_set_input_focus(display(), XCB_INPUT_FOCUS_PARENT, frame.window(), XCB_CURRENT_TIME);
    xcb_flush(display());
    Q_EMIT changed();
}

QRect WindowFrames::placeFor(const QSize& size, quint32 transientFor) const {
    QRect place({}, size);
    if (const WindowFrame* owner = frameOf(transientFor)) {
        place.moveCenter(owner->inside().center());
        return place;
    }
    // Windows are placed to the left of menus and notifications, each one a little lower than the last.
    const QRect screen = qGuiApp->primaryScreen()->geometry();
    const int step = 40 * static_cast<int>(m_frames.size());
    const int below = DesktopLook::panelHeight + WindowFrame::titleHeight;
    place.moveLeft(std::max(24, (screen.width() - 380 - size.width()) / 2) + step);
    place.moveTop(std::max(24, (screen.height() - below - size.height()) / 2) + below + step);
    return place;
}

void WindowFrames::configure(const xcb_configure_request_event_t& request) {
    WindowFrame* frame = frameOf(request.window);
    // A window chooses its own size; the frame chooses its place.
    const uint32_t free =
        frame
            ? uint32_t{XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT}
            : uint32_t{XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT};
    const auto granted = static_cast<uint16_t>(request.value_mask & free);
    std::vector<uint32_t> values;
    const auto grant = [&](uint32_t what, int value) {
        if (granted & what) {
            values.push_back(static_cast<uint32_t>(value));
        }
    };
    grant(XCB_CONFIG_WINDOW_X, request.x);
    grant(XCB_CONFIG_WINDOW_Y, request.y);
    grant(XCB_CONFIG_WINDOW_WIDTH, request.width);
    grant(XCB_CONFIG_WINDOW_HEIGHT, request.height);
    xcb_configure_window(display(), request.window, granted, values.data());
    xcb_flush(display());
    if (!frame) {
        return;
    }
    QRect inside = frame->inside();
    inside.setWidth(granted & XCB_CONFIG_WINDOW_WIDTH ? request.width : inside.width());
    inside.setHeight(granted & XCB_CONFIG_WINDOW_HEIGHT ? request.height : inside.height());
    frame->setInside(inside);
    if (request.value_mask & XCB_CONFIG_WINDOW_STACK_MODE) {
        activate(*frame);
    }
    Q_EMIT changed();
}

WindowFrame* WindowFrames::frameOf(quint32 window) const {
    const auto found =
        std::find_if(m_frames.begin(), m_frames.end(), [&](const auto& frame) { return frame->window() == window; });
    return window == 0 || found == m_frames.end() ? nullptr : found->get();
}

} // namespace orvanel::standin
