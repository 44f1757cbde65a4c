#include "app/LegacyTray.h"

#include <QGuiApplication>

#include <cstdlib>
#include <memory>
#include <xcb/xcb.h>

namespace orvanel {
namespace {

template <class Reply>
using Owned = std::unique_ptr<Reply, decltype(&std::free)>;

} // namespace

bool isLegacyTrayPresent() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr || x11->connection() == nullptr) {
        return false;
    }
    xcb_connection_t* const connection = x11->connection();
    // Of the first screen: more than one is not in use any more.
    constexpr char name[] = "_NET_SYSTEM_TRAY_S0";
    const auto question = xcb_intern_atom(connection, 1, sizeof name - 1, name);
    const Owned<xcb_intern_atom_reply_t> atom(xcb_intern_atom_reply(connection, question, nullptr), &std::free);
    if (atom == nullptr || atom->atom == XCB_ATOM_NONE) {
        return false;
    }
    const auto ownerQuestion = xcb_get_selection_owner(connection, atom->atom);
    const Owned<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(connection, ownerQuestion, nullptr), &std::free);
    return owner != nullptr && owner->owner != XCB_WINDOW_NONE;
}

} // namespace orvanel
