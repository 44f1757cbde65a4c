#include "SoakDesktop.h"

#include "support/Await.h"

#include <QDeadlineTimer>
#include <QGuiApplication>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// Shortens the time between two polls to 10 ms, and that between two readings of the status page to 100 ms.
constexpr auto haste = "300";

template <class Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

xcb_connection_t* display() {
    return qGuiApp->nativeInterface<QNativeInterface::QX11Application>()->connection();
}

xcb_window_t rootWindow() {
    return xcb_setup_roots_iterator(xcb_get_setup(display())).data->root;
}

xcb_keycode_t keycode(xcb_keysym_t keysym) {
    const xcb_setup_t* setup = xcb_get_setup(display());
    const auto amount = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    const auto question = xcb_get_keyboard_mapping(display(), setup->min_keycode, amount);
    const auto reply = owned(xcb_get_keyboard_mapping_reply(display(), question, nullptr));
    if (!reply) {
        return 0;
    }
    const xcb_keysym_t* begin = xcb_get_keyboard_mapping_keysyms(reply.get());
    const xcb_keysym_t* end = begin + xcb_get_keyboard_mapping_keysyms_length(reply.get());
    const auto place = std::find(begin, end, keysym) - begin;
    return static_cast<xcb_keycode_t>(setup->min_keycode + place / reply->keysyms_per_keycode);
}

} // namespace

SoakDesktop::SoakDesktop()
    : m_area(QDBusConnection::sessionBus())
    , m_notifications(QDBusConnection::sessionBus())
    , m_reader(QDBusConnection::sessionBus()) {
    m_program.setProcessChannelMode(QProcess::ForwardedChannels);
    m_program.setStandardInputFile(QProcess::nullDevice());
}

SoakDesktop::~SoakDesktop() {
    m_program.kill();
    m_program.waitForFinished();
}

bool SoakDesktop::start(const QString& program) {
    auto bus = QDBusConnection::sessionBus();
    // Every signal of these interfaces.
    const auto listen = [&](const char* interface) {
        return bus.connect({}, {}, QString::fromLatin1(interface), {}, this, SLOT(onNews()));
    };
    expect(u"find the places of a desktop free on the session bus"_s);
    if (!m_area.open() || !m_notifications.open() || !m_reader.open(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS")) ||
        !listen("org.kde.StatusNotifierItem") || !listen("com.canonical.dbusmenu")) {
        return false;
    }
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"ORVANEL_HASTE"_s, QString::fromLatin1(haste));
    m_program.setProcessEnvironment(environment);
    m_program.start(program, {});
    expect(u"show its icon"_s);
    return waitFor([this] { return m_area.item() != nullptr; });
}

QString SoakDesktop::trouble() {
    if (m_program.state() != QProcess::Running) {
        return u"it ended when it should %1"_s.arg(m_expected);
    }
    // The program's window says more than its menu.
    if (choose(u"Open window"_s)) {
        reads(u"Settings"_s);
    }
    QStringList menu;
    if (m_area.item() != nullptr) {
        for (const standin::MenuEntry& entry : m_area.item()->menu().entries()) {
            menu << (entry.enabled ? entry.text : u"[%1]"_s.arg(entry.text));
        }
    }
    QStringList windows;
    for (const standin::WindowFrame* window : m_frames.frames()) {
        windows << window->title();
    }
    QStringList words;
    for (const standin::ScreenElement& element : m_reader.elements()) {
        if (element.showing) {
            words << u"%1 %2"_s.arg(element.role, element.name);
        }
    }
    const auto comma = u", "_s;
    return u"it did not %1; its menu says: %2; windows: %3; in them: %4"_s.arg(m_expected, menu.join(comma),
                                                                               windows.join(comma), words.join(comma));
}

bool SoakDesktop::waitFor(const std::function<bool()>& condition) const {
    const auto hasEnded = [this] { return m_program.state() == QProcess::NotRunning; };
    return test::waitUntil([&] { return hasEnded() || condition(); }) && !hasEnded();
}

bool SoakDesktop::choose(const QString& entry) {
    if (!waitFor([&] { return offers(entry); })) {
        return false;
    }
    auto& menu = m_area.item()->menu();
    return menu.press(menu.find(entry)->id);
}

bool SoakDesktop::offers(const QString& entry) const {
    const auto* const item = m_area.item();
    const auto found = item != nullptr ? item->menu().find(entry) : std::nullopt;
    return found && found->enabled;
}

bool SoakDesktop::says(const QString& status) const {
    return m_area.item() != nullptr && m_area.item()->menu().find(status).has_value();
}

bool SoakDesktop::shows(Color color) const {
    const QImage icon = m_area.item() != nullptr ? m_area.item()->icon(22) : QImage();
    if (icon.isNull()) {
        return false;
    }
    const QColor middle = icon.pixelColor(icon.rect().center());
    const int distance = std::abs(middle.hsvHue() - (color == Color::red ? 0 : 120));
    return middle.hsvSaturation() > 50 && std::min(distance, 360 - distance) < 40;
}

const standin::WindowFrame* SoakDesktop::frame(const QString& titleStart) const {
    for (const standin::WindowFrame* window : m_frames.frames()) {
        if (window->title().startsWith(titleStart)) {
            return window;
        }
    }
    return nullptr;
}

bool SoakDesktop::closeWindow(const QString& title) {
    if (m_frames.find(title) == nullptr) {
        return false;
    }
    // An earlier request may open the window again just after it was closed.
    QDeadlineTimer pause(0);
    return waitFor([&] {
        const standin::WindowFrame* window = m_frames.find(title);
        if (window != nullptr && pause.hasExpired()) {
            m_frames.close(*window);
            pause.setRemainingTime(std::chrono::seconds(1));
        }
        return window == nullptr;
    });
}

bool SoakDesktop::pressButton(const QString& name) {
    std::optional<standin::ScreenElement> button;
    const auto isThere = [&] {
        m_reader.refresh();
        const auto elements = m_reader.elements();
        const auto found = std::find_if(elements.begin(), elements.end(), [&](const standin::ScreenElement& element) {
            return element.showing && element.enabled && element.name == name && element.role.contains("button"_L1);
        });
        if (found != elements.end()) {
            button = *found;
        }
        return button.has_value();
    };
    m_reader.forget();
    if (!waitFor(isThere)) {
        return false;
    }
    m_reader.press(*button);
    return true;
}

bool SoakDesktop::reads(const QString& words) {
    m_reader.forget();
    return waitFor([&] {
        m_reader.refresh();
        return m_reader.reads(words);
    });
}

bool SoakDesktop::hasMenu(const QString& titleStart) const {
    const standin::WindowFrame* window = frame(titleStart);
    const auto tree = owned(xcb_query_tree_reply(display(), xcb_query_tree(display(), rootWindow()), nullptr));
    if (window == nullptr || !tree) {
        return false;
    }
    // All windows of a program have these bits of their number in common.
    const quint32 programsBits = ~xcb_get_setup(display())->resource_id_mask;
    const xcb_window_t* begin = xcb_query_tree_children(tree.get());
    return std::any_of(begin, begin + xcb_query_tree_children_length(tree.get()), [&](xcb_window_t other) {
        const auto question = xcb_get_window_attributes(display(), other);
        const auto state = owned(xcb_get_window_attributes_reply(display(), question, nullptr));
        return ((other ^ window->window()) & programsBits) == 0 && state && state->override_redirect != 0 &&
               state->map_state == XCB_MAP_STATE_VIEWABLE;
    });
}

void SoakDesktop::pressKey(const QString& titleStart, quint32 keysym) const {
    const standin::WindowFrame* window = frame(titleStart);
    if (window == nullptr) {
        return;
    }
    xcb_key_press_event_t event{};
    event.response_type = XCB_KEY_PRESS;
    event.detail = keycode(keysym);
    event.root = rootWindow();
    event.event = window->window();
    event.same_screen = 1;
    xcb_send_event(display(), 0, window->window(), XCB_EVENT_MASK_KEY_PRESS, reinterpret_cast<const char*>(&event));
    event.response_type = XCB_KEY_RELEASE;
    xcb_send_event(display(), 0, window->window(), XCB_EVENT_MASK_KEY_RELEASE, reinterpret_cast<const char*>(&event));
    xcb_flush(display());
}

int SoakDesktop::quit() {
    expect(u"quit"_s);
    if (!choose(u"Quit"_s) || !test::waitUntil([this] { return m_program.state() == QProcess::NotRunning; })) {
        return -1;
    }
    return m_program.exitStatus() == QProcess::NormalExit ? m_program.exitCode() : -1;
}

} // namespace orvanel
