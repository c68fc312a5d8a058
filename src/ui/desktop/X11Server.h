// X11Server: what all that speaks to the X server needs.
//
// Threads: main.
#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <string_view>

namespace siftwell {

struct FreeReply {
    void operator()(void* memory) const { std::free(memory); }
};
template <typename Reply>
using X11Reply = std::unique_ptr<Reply, FreeReply>;

// The program's own connection; null where there is no X server.
xcb_connection_t* x11Server();
xcb_window_t rootWindow(xcb_connection_t& server);
// What kind of event it is, whoever sent it.
inline int kindOf(const xcb_generic_event_t& event) { return event.response_type & 0x7f; }
// XCB_ATOM_NONE when the server does not answer.
xcb_atom_t atomOf(xcb_connection_t& server, std::string_view name);

}  // namespace siftwell
