#include "ui/desktop/TaskBarEntry.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QWidget>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace siftwell {

namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

xcb_atom_t atomOf(xcb_connection_t& server, std::string_view name) {
    const auto asked =
        xcb_intern_atom(&server, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, Free> reply(
        xcb_intern_atom_reply(&server, asked, nullptr));
    return reply == nullptr ? xcb_atom_t{XCB_ATOM_NONE} : reply->atom;
}

}  // namespace

// By a message to the window manager, as the Extended Window Manager Hints say.
void setInTaskBar(const QWidget& window, bool isInTaskBar) {
    auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr) return;
    xcb_connection_t& server = *x11->connection();
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window.winId());
    message.type = atomOf(server, "_NET_WM_STATE");
    message.data.data32[0] = isInTaskBar ? 0 : 1;  // remove, add
    message.data.data32[1] = atomOf(server, "_NET_WM_STATE_SKIP_TASKBAR");
    message.data.data32[3] = 1;  // from a program, not from a pager
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(&server)).data->root;
    xcb_send_event(&server, 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(&server);
}

}  // namespace siftwell
