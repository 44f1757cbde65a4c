#pragma once

#include <cstdlib>
#include <cstring>
#include <memory>
#include <xcb/xcb.h>

namespace orvanel::test {

/// What xcb returns, released with the pointer.
template <class Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
    return {reply, &std::free};
}

inline xcb_atom_t atom(xcb_connection_t* connection, const char* name) {
    const auto question = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(std::strlen(name)), name);
    const auto reply = owned(xcb_intern_atom_reply(connection, question, nullptr));
    return reply ? reply->atom : XCB_ATOM_NONE;
}

} // namespace orvanel::test
