#include "ui/desktop/TaskBarEntry.h"

#include <QWidget>

#include "ui/desktop/X11Server.h"

namespace siftwell {

// By a message to the window manager, as the Extended Window Manager Hints say.
void setInTaskBar(const QWidget& window, bool isInTaskBar) {
    xcb_connection_t* const connection = x11Server();
    if (connection == nullptr) return;
    xcb_connection_t& server = *connection;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window.winId());
    message.type = atomOf(server, "_NET_WM_STATE");
    message.data.data32[0] = isInTaskBar ? 0 : 1;  // remove, add
    message.data.data32[1] = atomOf(server, "_NET_WM_STATE_SKIP_TASKBAR");
    message.data.data32[3] = 1;  // from a program, not from a pager
    xcb_send_event(&server, 0, rootWindow(server),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(&server);
}

}  // namespace siftwell
